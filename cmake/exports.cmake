# SPDX-License-Identifier: Apache-2.0
# What a library shows to those that use it.

# Exports what LIST.map names, and what LIST.def names on Windows, beside the target's CMakeLists.txt: kvn_export(TARGET LIST)
function(kvn_export target list)
  set(path ${CMAKE_CURRENT_SOURCE_DIR}/${list})
  if(WIN32)
    target_sources(${target} PRIVATE ${path}.def)
  else()
    target_link_options(${target} PRIVATE LINKER:--version-script=${path}.map)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${path}.map)
  endif()
endfunction()
