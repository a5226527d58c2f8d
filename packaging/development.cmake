# SPDX-License-Identifier: Apache-2.0
#
# What authors of plug-ins and hosts find us by: CMake package and pkg-config files. Neither names the prefix, so that
# the installed tree may be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zpf)
install(EXPORT zpf NAMESPACE zpf:: FILE zpfTargets.cmake DESTINATION ${package_dir} COMPONENT dev)
set(plugin_dir ${CMAKE_INSTALL_LIBDIR}/zpf/plugins)
set(yang_dir ${CMAKE_INSTALL_DATADIR}/zpf/yang)
configure_package_config_file(cmake/zpfConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/zpfConfig.cmake
                              INSTALL_DESTINATION ${package_dir} PATH_VARS plugin_dir yang_dir CMAKE_INSTALL_BINDIR
                              NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/zpfConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zpfConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/zpfConfigVersion.cmake
              cmake/zpfPlugin.cmake cmake/plugin.map
        DESTINATION ${package_dir} COMPONENT dev)

set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_to_prefix /prefix/${pc_dir} /prefix)
foreach(name zpf kelda)
  configure_file(cmake/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${pc_dir} COMPONENT dev)
endforeach()
