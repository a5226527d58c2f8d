# SPDX-License-Identifier: Apache-2.0
#
# Runs ${PROGRAM} once, as short as it can be, and expects every row in its table. Times are not looked at.
execute_process(COMMAND ${PROGRAM} --quick --limit 240 OUTPUT_VARIABLE table ERROR_VARIABLE errors
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "zpf-bench-agent ended with ${status}:\n${table}\n${errors}")
endif()
set(rows
  "start to \"ready\""
  "resident memory after start, all transports"
  "resident memory after 20000 requests"
  "  growth since the first tenth"
  "idle with sessions by UNIX socket, SSH and TLS"
  "longest tail of reads, p99 to p50"
  "get-config of one, 1 session, by sshd"
  "get-config of one, 8 sessions, by sshd"
  "edit of one leaf, 1 session, free"
  "edit of one leaf, 8 sessions, free"
  "  beside fdatasync of the disk"
  "  edits committed together"
  "longest tail of edits, p99 to p50"
  "get of one among 100000 interfaces"
  "  processor time, many to few"
  "edit of one among as many")
foreach(what "get of all" "get-config of one")
  foreach(sessions "1 session" "8 sessions")
    foreach(where "free" "one processor")
      list(APPEND rows "${what}, ${sessions}, ${where}")
    endforeach()
  endforeach()
endforeach()
foreach(row ${rows})
  if(NOT table MATCHES "\n${row} +[0-9]")
    message(FATAL_ERROR "no row \"${row}\" with a figure in:\n${table}\n${errors}")
  endif()
endforeach()
