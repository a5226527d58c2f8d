# SPDX-License-Identifier: Apache-2.0
#
# Compares what a shared library exports with the list under review: cmake -DNM= -DLIBRARY= -DGOLDEN= -P this file.
# Lines are the symbol's kind, as nm names it, and its name.
execute_process(COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
                OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
list(TRANSFORM lines REPLACE "^([^ ]+) ([^ ]+).*$" "\\2 \\1")
list(SORT lines)
list(JOIN lines "\n" exported)
file(READ ${GOLDEN} golden)
string(REGEX REPLACE "#[^\n]*\n" "" golden "${golden}")
if(NOT "${exported}\n" STREQUAL "${golden}")
  message(FATAL_ERROR "${LIBRARY} exports\n${exported}\n\nbut ${GOLDEN} lists\n${golden}")
endif()
