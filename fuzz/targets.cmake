# SPDX-License-Identifier: Apache-2.0
# The fuzz targets: what each is made of. kvn_fuzz_target makes one program of it; the including folder says
# how.
set(KVN_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(KVN_FUZZ_TARGETS rbt bit mcb con command_line environment console_answers callback_answers module_replies
                     runs)
if(KVN_BUILD_TOOLS)
  list(APPEND KVN_FUZZ_TARGETS c_interface configuration_port conversion events input journal rack
       rack_state rehearsal report station trace)
endif()

include(${PROJECT_SOURCE_DIR}/tests/support/basics.cmake)
add_library(kvn_fuzz_common STATIC ${KVN_FUZZ_DIR}/workplace.cpp)
target_include_directories(kvn_fuzz_common PUBLIC ${KVN_FUZZ_DIR})
target_link_libraries(kvn_fuzz_common PUBLIC kvn_test_basics kvn_fpga_static PRIVATE kvn_warnings)

add_library(kvn_fuzz_platform OBJECT ${KVN_FUZZ_DIR}/sessions.cpp ${KVN_FUZZ_DIR}/watched_platform.cpp
                                     ${PROJECT_SOURCE_DIR}/tests/support/fake_platform.cpp)
target_link_libraries(kvn_fuzz_platform PUBLIC kvn_fuzz_common PRIVATE kvn_warnings)

# Writes the seed corpora, so that no generated file is kept with the sources.
add_executable(make_fuzz_seeds ${KVN_FUZZ_DIR}/make_seeds.cpp)
target_link_libraries(make_fuzz_seeds PRIVATE kvn_fuzz_platform mwapi_threads kvn_warnings)
set(KVN_FUZZ_SEEDS ${CMAKE_CURRENT_BINARY_DIR}/seeds)
add_custom_command(OUTPUT ${KVN_FUZZ_SEEDS}/complete COMMAND make_fuzz_seeds ${KVN_FUZZ_SEEDS}
                          COMMAND ${CMAKE_COMMAND} -E touch ${KVN_FUZZ_SEEDS}/complete
                   DEPENDS make_fuzz_seeds)
add_custom_target(fuzz_seeds ALL DEPENDS ${KVN_FUZZ_SEEDS}/complete)
if(KVN_BUILD_TOOLS)
  target_link_libraries(make_fuzz_seeds PRIVATE kvn_fpga_devices mwtrace_core)
  target_compile_definitions(make_fuzz_seeds PRIVATE DOCS="${PROJECT_SOURCE_DIR}/docs")
endif()

function(kvn_fuzz_target program name)
  add_executable(${program} ${KVN_FUZZ_DIR}/targets/${name}.cpp ${ARGN})
  add_dependencies(${program} fuzz_seeds)
  if(name STREQUAL "rack")
    target_link_libraries(${program} PRIVATE mwvirtual_core kvn_fuzz_common kvn_warnings)
    return()
  endif()
  if(name STREQUAL "rack_state")
    target_link_libraries(${program} PRIVATE mwvirtual_core kvn_rack_view kvn_fuzz_common kvn_warnings)
    return()
  endif()
  target_link_libraries(${program} PRIVATE mwapi_threads)
  if(name STREQUAL "c_interface")
    target_link_libraries(${program} PRIVATE kvn_fuzz_common kvn_library_objects kvn_warnings)
    target_compile_definitions(${program} PRIVATE PROVIDER="$<TARGET_FILE:mwvirtual>")
    add_dependencies(${program} mwvirtual)
  elseif(name STREQUAL "trace")
    target_link_libraries(${program} PRIVATE kvn_fuzz_common mwtrace_core kvn_warnings)
  elseif(name MATCHES "^(conversion|events|input|journal|rehearsal|report|station)$")
    target_link_libraries(${program} PRIVATE kvn_engine kvn_fuzz_common kvn_warnings)
  elseif(name STREQUAL "configuration_port")
    target_link_libraries(${program} PRIVATE kvn_fuzz_platform kvn_fpga_devices kvn_warnings)
  else()
    target_link_libraries(${program} PRIVATE kvn_fuzz_platform kvn_warnings)
  endif()
  if(name STREQUAL "runs")
    target_link_libraries(${program} PRIVATE kvn_test_faults)
  endif()
endfunction()
