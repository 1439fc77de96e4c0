# SPDX-License-Identifier: Apache-2.0
# Builds and runs the examples of an installation, which is moved first: by CMake or, with how=pkg-config, by pkg-config.
function(run)
  cmake_parse_arguments(PARSE_ARGV 0 run "" "STATUS;OUTPUT;ERRORS" "COMMAND")
  execute_process(COMMAND ${run_COMMAND} WORKING_DIRECTORY ${folder} RESULT_VARIABLE status OUTPUT_VARIABLE output
                  ERROR_VARIABLE errors)
  if(NOT status EQUAL run_STATUS OR (DEFINED run_OUTPUT AND NOT output STREQUAL run_OUTPUT) OR
     (DEFINED run_ERRORS AND NOT errors STREQUAL run_ERRORS))
    message(FATAL_ERROR "${run_COMMAND}\nended with ${status} and printed\n${output}\n${errors}")
  endif()
endfunction()

file(REMOVE_RECURSE ${folder})
file(COPY ${prefix}/ DESTINATION ${folder}/moved)
file(COPY ${prefix}/${docdir}/examples/platforms/ DESTINATION ${folder}/source)
set(programs ${folder}/build)
if(how STREQUAL "pkg-config")
  set(programs ${folder}/source)
  run(STATUS 0 COMMAND ${CMAKE_COMMAND} -E env --unset=CXXFLAGS PKG_CONFIG_PATH=${folder}/moved/${libdir}/pkgconfig
                       make -C ${folder}/source CXX=${compiler} "CXXFLAGS=${flags} -Wall -Werror" "LDFLAGS=${flags}")
else()
  run(STATUS 0 COMMAND ${CMAKE_COMMAND} -S ${folder}/source -B ${folder}/build -G ${generator}
                       -DCMAKE_PREFIX_PATH=${folder}/moved -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_CXX_FLAGS=${flags})
  run(STATUS 0 COMMAND ${CMAKE_COMMAND} --build ${folder}/build)
endif()

set(ENV{KVN_MWAPI} "")
unset(ENV{MWVIRTUAL_RACK})
run(STATUS 0 COMMAND ${folder}/moved/${bindir}/kvn_bitgen 2v3000fg676-4 -o design.rbt)
run(STATUS 1 COMMAND ${programs}/defined design.rbt OUTPUT ""
    ERRORS "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (this program has no boards).\n")
run(STATUS 0 COMMAND ${programs}/linked design.rbt OUTPUT "mwc4a:0/1 runs design.rbt\n")
run(STATUS 0 COMMAND ${programs}/loaded ${folder}/moved/${providerdir}/libmwvirtual.so design.rbt
    OUTPUT "mwc4a:0/1 runs design.rbt\n")
