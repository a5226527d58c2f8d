# SPDX-License-Identifier: Apache-2.0
#
# Runs ${PROGRAM} once, as short as it can be, and expects every row in its table. Times are not looked at.
execute_process(COMMAND ${PROGRAM} --quick --markdown OUTPUT_VARIABLE table ERROR_VARIABLE errors
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "zpf-bench ended with ${status}:\n${table}\n${errors}")
endif()
set(rows
  "edit of one leaf"
  "get of one entry"
  "get of everything"
  "allocations by the plug-in: edit of one leaf"
  "allocations by the plug-in: edit that is refused"
  "allocations by the plug-in: get of one entry"
  "allocations by the plug-in: get of everything"
  "allocations by the plug-in: native walk"
  "native walk, 10 entries"
  "native walk, 100 entries"
  "native walk, 1000 entries"
  "native walk, 10000 entries"
  "native walk, 100000 entries"
  "native walk, growth"
  "native walk, memory allocated"
  "native walk, resident memory"
  "suppressed report"
  "trace line into the ring")
foreach(row ${rows})
  if(NOT table MATCHES "\n\\| ${row}[^|]*\\| [^|]*[0-9][^|]*\\|[^|]*\\|[^|]*\\|[^|]*\\| (met|\\*\\*not met\\*\\*) \\|")
    message(FATAL_ERROR "no row \"${row}\" with a figure and a verdict in:\n${table}\n${errors}")
  endif()
endforeach()
