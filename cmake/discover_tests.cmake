# SPDX-License-Identifier: Apache-2.0
# The tests of a program that is linked with GoogleTest.
include(GoogleTest)

# Names tests that a program has for Linux only, by GoogleTest's patterns. Say at the call what they need.
function(kvn_leave_out_on_windows program)
  set_property(TARGET ${program} APPEND PROPERTY KVN_LEFT_OUT_ON_WINDOWS ${ARGN})
endfunction()

# Adds the tests of a program: kvn_discover_tests(PROGRAM <argument of gtest_discover_tests>...)
function(kvn_discover_tests program)
  if(NOT WIN32)
    gtest_discover_tests(${program} ${ARGN})
    return()
  endif()
  # Wine takes longer to start a program than most tests take: all of them are one test.
  cmake_parse_arguments(given "" "DISCOVERY_TIMEOUT;TEST_FILTER" "PROPERTIES" ${ARGN})
  get_target_property(left_out ${program} KVN_LEFT_OUT_ON_WINDOWS)
  set(filter)
  if(left_out)
    list(JOIN left_out ":" filter)
    set(filter --gtest_filter=-${filter})
  endif()
  add_test(NAME ${program} COMMAND ${program} --gtest_brief=1 ${filter})
  set_tests_properties(${program} PROPERTIES ${given_PROPERTIES} TIMEOUT 600)
endfunction()
