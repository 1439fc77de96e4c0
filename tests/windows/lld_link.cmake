# SPDX-License-Identifier: Apache-2.0
# Compiles a program for the other compilers' interface, links it with kvn.lib by lld-link and runs it.
#   cmake -D clang=C -D lld_link=L -D source=FILE.c -D prefix=PACKAGE -D folder=FOLDER -D emulator=LIST -P lld_link.cmake
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${clang} --target=x86_64-pc-windows-msvc -ffreestanding -std=c11 -Wall -Wextra -Werror
                        -I${prefix}/include -c ${source} -o ${folder}/program.obj
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${lld_link} /nologo /nodefaultlib /entry:start /subsystem:console /out:${folder}/program.exe
                        ${folder}/program.obj ${prefix}/lib/kvn.lib
                COMMAND_ERROR_IS_FATAL ANY)

# The system finds the library beside the program.
file(COPY ${prefix}/bin/ DESTINATION ${folder})
set(ENV{KVN_MWAPI} virtual)
execute_process(COMMAND ${emulator} ${folder}/program.exe RESULT_VARIABLE status)
if(NOT status EQUAL 2)
  message(FATAL_ERROR "the program ended with ${status}; it counts the modules of the first board, which has 2")
endif()
