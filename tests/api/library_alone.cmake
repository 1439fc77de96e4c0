# SPDX-License-Identifier: Apache-2.0
# Without the tools only the library is installed, and uninstalling leaves nothing of it, but what others have put there.
function(expect_files)
  file(GLOB_RECURSE found RELATIVE ${folder}/prefix LIST_DIRECTORIES true ${folder}/prefix/*)
  if(NOT found STREQUAL "${ARGN}")
    list(JOIN found "\n  " found)
    list(JOIN ARGN "\n  " expected)
    message(FATAL_ERROR "There are\n  ${found}\ninstead of\n  ${expected}")
  endif()
endfunction()

function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${folder})
run(${CMAKE_COMMAND} -S ${source} -B ${folder}/build -G ${generator} -DKVN_BUILD_TOOLS=OFF -DCMAKE_BUILD_TYPE=Debug
    -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_CXX_FLAGS_DEBUG=-O0)
run(${CMAKE_COMMAND} --build ${folder}/build)
file(WRITE ${folder}/prefix/include/foreign.h "")
run(${CMAKE_COMMAND} --install ${folder}/build --prefix ${folder}/prefix)
string(REGEX MATCH "^[0-9]+" major ${version})
expect_files(
  include include/foreign.h include/kvn_fpga include/kvn_fpga.h include/kvn_fpga/mwapi.h
  lib lib/cmake lib/cmake/kvn_fpga lib/cmake/kvn_fpga/kvn_fpgaConfig.cmake
  lib/cmake/kvn_fpga/kvn_fpgaConfigVersion.cmake lib/cmake/kvn_fpga/kvn_fpgaTargets-debug.cmake
  lib/cmake/kvn_fpga/kvn_fpgaTargets.cmake
  lib/libkvn_fpga.so lib/libkvn_fpga.so.${major} lib/libkvn_fpga.so.${version}
  lib/pkgconfig lib/pkgconfig/kvn_fpga.pc
  share share/doc share/doc/kvn_fpga share/doc/kvn_fpga/LICENSE)

run(${CMAKE_COMMAND} --build ${folder}/build --target uninstall)
expect_files(include include/foreign.h lib lib/cmake lib/pkgconfig share share/doc)
