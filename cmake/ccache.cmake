# SPDX-License-Identifier: Apache-2.0
# Compiles every configuration through ccache if it is installed and no other launcher is chosen.
if(NOT PROJECT_IS_TOP_LEVEL OR DEFINED CMAKE_CXX_COMPILER_LAUNCHER OR DEFINED ENV{CMAKE_CXX_COMPILER_LAUNCHER})
  return()
endif()
find_program(KVN_CCACHE ccache)
if(KVN_CCACHE)
  # Otherwise ccache caches nothing that is compiled with a precompiled header.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${KVN_CCACHE})
endif()
