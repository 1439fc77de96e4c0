# SPDX-License-Identifier: Apache-2.0
# Builds the test programs quickly: unoptimised, with precompiled headers, linked by gold. What they test is built
# as the preset says. Include it after all folders of tests.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=gold KVN_HAS_GOLD)

add_library(kvn_test_quickly INTERFACE)
target_compile_options(kvn_test_quickly INTERFACE -O0)
if(KVN_HAS_GOLD)
  target_link_options(kvn_test_quickly INTERFACE -fuse-ld=gold)
endif()

if(KVN_PRECOMPILE)
  file(CONFIGURE OUTPUT precompiled.cpp CONTENT "")
  add_library(kvn_test_headers OBJECT EXCLUDE_FROM_ALL ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
  target_link_libraries(kvn_test_headers PRIVATE kvn_warnings kvn_test_quickly GTest::gtest GTest::gmock)
  target_precompile_headers(kvn_test_headers PRIVATE
    <algorithm> <array> <cstdint> <cstdio> <cstdlib> <cstring> <filesystem> <fstream> <functional> <iterator> <map>
    <memory> <optional> <span> <sstream> <string> <string_view> <tuple> <utility> <vector>
    <gtest/gtest.h> <gmock/gmock.h>)
  # The same options as the programs that use them. All code for Windows can be moved, without options.
  set_target_properties(kvn_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  if(NOT WIN32)
    target_compile_options(kvn_test_headers PRIVATE -fPIE)
  endif()
  target_compile_options(kvn_test_quickly INTERFACE ${KVN_PRECOMPILED_OPTIONS})
endif()

# Sets `programs` to the programs of a folder, and of those in it, that are linked with GoogleTest.
function(kvn_find_test_programs folder)
  set(found)
  get_property(subfolders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    kvn_find_test_programs(${subfolder})
    list(APPEND found ${programs})
  endforeach()
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    if(type STREQUAL "EXECUTABLE" AND libraries MATCHES "GTest::")
      list(APPEND found ${target})
    endif()
  endforeach()
  set(programs ${found} PARENT_SCOPE)
endfunction()

# Sets `starts` to whether a program of tests starts another program.
function(kvn_starts_programs program)
  set(starts FALSE PARENT_SCOPE)
  get_target_property(needed ${program} MANUALLY_ADDED_DEPENDENCIES)
  foreach(target IN LISTS needed)
    if(TARGET ${target})
      get_target_property(type ${target} TYPE)
      if(type STREQUAL "EXECUTABLE")
        set(starts TRUE PARENT_SCOPE)
      endif()
    endif()
  endforeach()
endfunction()

# Makes a target of programs, and a file that names them.
function(kvn_list_programs list)
  add_custom_target(${list} DEPENDS ${ARGN})
  list(JOIN ARGN "\n" names)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/${list}.txt CONTENT "@names@\n" @ONLY)
endfunction()

# The programs that contain the library itself and start no other program: coverage and mutation run them. Those that
# contain the engine or the C interface to it: coverage runs them, and counts what they start, as most of a run is there.
set(library_tests)
set(front_end_tests)
kvn_find_test_programs(${CMAKE_CURRENT_SOURCE_DIR})
foreach(program IN LISTS programs)
  get_target_property(libraries ${program} LINK_LIBRARIES)
  kvn_starts_programs(${program})
  if(libraries MATCHES "kvn_(engine|errors|library)")
    list(APPEND front_end_tests ${program})
  elseif(starts)
    # What another program reaches is that program's own.
  elseif(libraries MATCHES "kvn_test_support|kvn_fpga_static")
    list(APPEND library_tests ${program})
  endif()
  target_link_libraries(${program} PRIVATE kvn_test_quickly)
  # A folder that enables C with another compiler expects precompiled headers of that compiler's kind.
  get_target_property(folder ${program} SOURCE_DIR)
  get_directory_property(extension DIRECTORY ${folder} DEFINITION CMAKE_PCH_EXTENSION)
  if(KVN_PRECOMPILE AND extension STREQUAL CMAKE_PCH_EXTENSION)
    target_precompile_headers(${program} REUSE_FROM kvn_test_headers)
  endif()
endforeach()
kvn_list_programs(library_tests ${library_tests})
kvn_list_programs(front_end_tests ${front_end_tests})
