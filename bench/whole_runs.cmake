# SPDX-License-Identifier: Apache-2.0
# The program that runs whole operations, for the benchmarks and for the tests of their budgets.
if(TARGET kvn_counting_provider)
  return()
endif()

add_library(kvn_bench_support STATIC ${CMAKE_CURRENT_LIST_DIR}/counting_platform.cpp
                                     ${CMAKE_CURRENT_LIST_DIR}/test_data.cpp)
target_include_directories(kvn_bench_support PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(kvn_bench_support PUBLIC mwapi PRIVATE kvn_warnings)

# As a provider, for loads that go the way of the utility's.
add_library(kvn_counting_provider MODULE ${CMAKE_CURRENT_LIST_DIR}/counting_platform.cpp)
target_link_libraries(kvn_counting_provider PRIVATE mwapi_forward kvn_warnings)

# The linker of Windows leaves no call undefined, as these do; and what is measured is Linux's.
set(whole_runs)
if(NOT WIN32)
  # A library of its own, so that its calls into the program go the way of kvn_fpga's.
  add_library(kvn_bare_calls SHARED ${CMAKE_CURRENT_LIST_DIR}/bare_calls.cpp)
  target_link_libraries(kvn_bare_calls PRIVATE mwapi kvn_warnings)

  target_sources(kvn_counting_provider PRIVATE ${CMAKE_CURRENT_LIST_DIR}/memory_note.cpp)

  add_executable(kvn_whole_runs ${CMAKE_CURRENT_LIST_DIR}/whole_runs.cpp ${CMAKE_CURRENT_LIST_DIR}/operations.cpp
                                ${CMAKE_CURRENT_LIST_DIR}/memory_note.cpp)
  target_link_libraries(kvn_whole_runs PRIVATE kvn_bench_support mwapi_forward mwapi_provider kvn_bare_calls kvn_fpga
                                               kvn_warnings)
  set_target_properties(kvn_whole_runs PROPERTIES ENABLE_EXPORTS ON)
  set(whole_runs kvn_bare_calls kvn_whole_runs)
endif()

# Where a function begins in a line of the cache is worth a tenth of a load's time here. What is measured must not hang
# on it: the platform that counts, and the calls into it, begin at a line whatever stands in front of them.
foreach(target kvn_bench_support kvn_counting_provider ${whole_runs})
  target_compile_options(${target} PRIVATE -falign-functions=64)
endforeach()
