# SPDX-License-Identifier: Apache-2.0
#
# Service, manual pages and documents.

# Compressed where there is gzip, as distributions want it; without a time stamp, so that every build gives the same.
find_program(ZPF_GZIP gzip DOC "Compresses manual pages (not found: they are installed as they are)")
function(zpf_install_compressed file destination)
  get_filename_component(name ${file} NAME)
  if(ZPF_GZIP)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    execute_process(COMMAND ${ZPF_GZIP} -9 -n -c ${file} OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz
                    COMMAND_ERROR_IS_FATAL ANY)
    set(file ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
  endif()
  install(FILES ${file} DESTINATION ${destination})
endfunction()

foreach(page zpf.1 zpfd.8 zpf-netconf.8)
  string(REGEX REPLACE ".*\\.([0-9])$" "man\\1" section ${page})
  zpf_install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/man/${page} ${CMAKE_INSTALL_MANDIR}/${section})
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/agent.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${PROJECT_SOURCE_DIR}/demo/native.xml DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES ${PROJECT_SOURCE_DIR}/docs/mapping-authors.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/example/lamp-plugin DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
        USE_SOURCE_PERMISSIONS COMPONENT dev)

# The unit names absolute places, so it is written when the prefix is known for certain: at installation.
set(ZPF_UNIT_TEMPLATE ${CMAKE_CURRENT_SOURCE_DIR}/systemd/zpfd.service.in)
set(ZPF_OPTIONS_TEMPLATE ${CMAKE_CURRENT_SOURCE_DIR}/systemd/zpfd.default)
configure_file(install_service.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/install_service.cmake @ONLY)
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/install_service.cmake)
