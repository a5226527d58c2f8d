# SPDX-License-Identifier: Apache-2.0
#
# Fails unless the C symbols that LIBRARY defines for others are those of the file GOLDEN. The C++ interface of hosts
# (namespace zpf, and the type information of its classes) changes with the hosts and is left out.
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY} OUTPUT_VARIABLE symbols RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} cannot read ${LIBRARY}")
endif()
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
set(exported "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE " .*" "" name "${line}")
  if(NOT name MATCHES "^(_ZNK?3zpf|_ZT[ISV]N3zpf)")
    list(APPEND exported ${name})
  endif()
endforeach()
list(SORT exported)
file(STRINGS ${GOLDEN} golden REGEX "^[^#]")
if(NOT exported STREQUAL golden)
  set(surplus ${exported})
  list(REMOVE_ITEM surplus ${golden})
  list(REMOVE_ITEM golden ${exported})
  message(FATAL_ERROR "exported, but not in the golden list: ${surplus}\nmissing: ${golden}")
endif()
