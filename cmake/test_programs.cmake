# SPDX-License-Identifier: Apache-2.0
# Builds the test programs quickly: unoptimised, with precompiled headers, linked by gold. What they test is built
# as the preset says. Include it after all folders of tests.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=gold KVN_HAS_GOLD)

add_library(kvn_test_quickly INTERFACE)
target_compile_options(kvn_test_quickly INTERFACE -O0)
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=.*undefined")
  # These checks are a fifth of the code of a test. A null pointer or an object that is gone ends a test without them too,
  # by the address sanitizer; what the tests examine has all checks.
  target_compile_options(kvn_test_quickly INTERFACE -fno-sanitize=null,alignment,object-size,vptr)
endif()
if(KVN_HAS_GOLD)
  target_link_options(kvn_test_quickly INTERFACE -fuse-ld=gold)
endif()

# Precompiles headers for programs of tests: kvn_precompile_for_tests(TARGET <HEADER>...)
function(kvn_precompile_for_tests target)
  file(CONFIGURE OUTPUT ${target}.cpp CONTENT "")
  add_library(${target} OBJECT EXCLUDE_FROM_ALL ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
  target_link_libraries(${target} PRIVATE kvn_warnings kvn_test_quickly GTest::gtest GTest::gmock)
  target_precompile_headers(${target} PRIVATE
    <algorithm> <array> <atomic> <chrono> <cstdint> <cstdio> <cstdlib> <cstring> <filesystem> <fstream> <functional>
    <iterator> <map> <memory> <mutex> <optional> <random> <span> <sstream> <string> <string_view> <thread> <tuple>
    <utility> <variant> <vector> <gtest/gtest.h> <gmock/gmock.h> ${ARGN})
  # The same options as the programs that use them. All code for Windows can be moved, without options.
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  if(NOT WIN32)
    target_compile_options(${target} PRIVATE -fPIE)
  endif()
endfunction()

if(KVN_PRECOMPILE)
  target_compile_options(kvn_test_quickly INTERFACE ${KVN_PRECOMPILED_OPTIONS})
  kvn_precompile_for_tests(kvn_test_headers)
  if(KVN_BUILD_TOOLS)
    find_package(nlohmann_json REQUIRED)
    kvn_precompile_for_tests(kvn_test_json_headers <nlohmann/json.hpp>)
    target_link_libraries(kvn_test_json_headers PRIVATE nlohmann_json::nlohmann_json)
  endif()
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
    if(libraries MATCHES "kvn_engine|kvn_example_runs|nlohmann_json")
      target_precompile_headers(${program} REUSE_FROM kvn_test_json_headers)
    else()
      target_precompile_headers(${program} REUSE_FROM kvn_test_headers)
    endif()
  endif()
endforeach()
kvn_list_programs(library_tests ${library_tests})
kvn_list_programs(front_end_tests ${front_end_tests})
