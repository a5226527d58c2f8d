# SPDX-License-Identifier: Apache-2.0
#
# zpf_add_plugin(NAME SOURCES FILE...): builds the mapping plug-in libNAME.so. It shows the functions named ymap_* that
# its sources export, and links no library of the framework: that comes from the process that loads it.
set(ZPF_PLUGIN_MAP ${CMAKE_CURRENT_LIST_DIR}/plugin.map)
function(zpf_add_plugin name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES")
  if(NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "zpf_add_plugin(${name}): usage: zpf_add_plugin(NAME SOURCES FILE...)")
  endif()
  add_library(${name} MODULE ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE zpf::interface)
  target_link_options(${name} PRIVATE -Wl,--version-script=${ZPF_PLUGIN_MAP})
  set_target_properties(${name} PROPERTIES PREFIX lib C_VISIBILITY_PRESET hidden CXX_VISIBILITY_PRESET hidden
                                           VISIBILITY_INLINES_HIDDEN ON)
endfunction()
