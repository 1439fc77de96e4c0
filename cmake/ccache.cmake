# SPDX-License-Identifier: Apache-2.0
# Every configuration compiles through ccache where it is installed and nobody has chosen another launcher.
if(NOT PROJECT_IS_TOP_LEVEL OR DEFINED CMAKE_CXX_COMPILER_LAUNCHER OR DEFINED ENV{CMAKE_CXX_COMPILER_LAUNCHER})
  return()
endif()
find_program(KVN_CCACHE ccache)
if(KVN_CCACHE)
  # Without these ccache passes on everything that is compiled with a precompiled header.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${KVN_CCACHE})
endif()
