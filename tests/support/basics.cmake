# SPDX-License-Identifier: Apache-2.0
# What tests, fuzz targets and benchmarks share. None of it needs GoogleTest.
include_guard(GLOBAL)

# What systems do differently is in a folder for each.
if(WIN32)
  set(KVN_TEST_SYSTEM ${CMAKE_CURRENT_LIST_DIR}/windows)
else()
  set(KVN_TEST_SYSTEM ${CMAKE_CURRENT_LIST_DIR}/posix)
endif()

# Bytes, bitstream files, folders; the streams, descriptors and variables of the own process.
add_library(kvn_test_basics STATIC
  ${CMAKE_CURRENT_LIST_DIR}/bitstreams.cpp ${CMAKE_CURRENT_LIST_DIR}/bytes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/environment.cpp ${CMAKE_CURRENT_LIST_DIR}/files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/temporary_folder.cpp ${KVN_TEST_SYSTEM}/descriptors.cpp
  ${KVN_TEST_SYSTEM}/environment.cpp ${KVN_TEST_SYSTEM}/memory_in_use.cpp ${KVN_TEST_SYSTEM}/special_files.cpp
  ${KVN_TEST_SYSTEM}/standard_streams.cpp ${KVN_TEST_SYSTEM}/sudden_end.cpp)
target_include_directories(kvn_test_basics PUBLIC ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(kvn_test_basics PRIVATE kvn_warnings)

# Programs as processes, and real bitstreams, which one of them unpacks.
add_library(kvn_test_process STATIC ${CMAKE_CURRENT_LIST_DIR}/process.cpp ${CMAKE_CURRENT_LIST_DIR}/process_environment.cpp
                                    ${CMAKE_CURRENT_LIST_DIR}/real_files.cpp
                                    ${KVN_TEST_SYSTEM}/process.cpp)
target_link_libraries(kvn_test_process PUBLIC kvn_test_basics PRIVATE kvn_warnings)

if(WIN32)
  add_library(kvn_test_children OBJECT ${KVN_TEST_SYSTEM}/child.cpp ${KVN_TEST_SYSTEM}/command_line.cpp)
  target_link_libraries(kvn_test_children PUBLIC kvn_test_basics PRIVATE kvn_warnings)
  add_executable(kvn_console_host ${KVN_TEST_SYSTEM}/console_host.cpp ${CMAKE_CURRENT_LIST_DIR}/process_environment.cpp)
  target_link_libraries(kvn_console_host PRIVATE kvn_test_children kvn_warnings)
  target_compile_definitions(kvn_test_process PRIVATE CONSOLE_HOST="$<TARGET_FILE:kvn_console_host>")
  target_link_libraries(kvn_test_process PUBLIC kvn_test_children)
  add_dependencies(kvn_test_process kvn_console_host)
  # Pseudo-consoles are declared for the Windows that has them.
  foreach(target kvn_test_children kvn_console_host kvn_test_process)
    target_compile_definitions(${target} PRIVATE _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000006)
  endforeach()
endif()

# Faults of files and of allocation. Only a program that links this has its calls of the C library wrapped.
add_library(kvn_test_faults STATIC ${CMAKE_CURRENT_LIST_DIR}/faults.cpp ${CMAKE_CURRENT_LIST_DIR}/own_stream.cpp
                                   ${KVN_TEST_SYSTEM}/own_stream.cpp)
target_link_libraries(kvn_test_faults PUBLIC kvn_test_basics PRIVATE kvn_warnings)
target_link_options(kvn_test_faults INTERFACE
  LINKER:--wrap=fopen LINKER:--wrap=fread LINKER:--wrap=fgets LINKER:--wrap=fwrite LINKER:--wrap=setvbuf
  LINKER:--wrap=ftell LINKER:--wrap=fclose LINKER:--wrap=__fread_chk LINKER:--wrap=__fgets_chk)
if(WIN32) # where streams of our own are no streams of the C library
  target_link_options(kvn_test_faults INTERFACE
    LINKER:--wrap=feof LINKER:--wrap=ferror LINKER:--wrap=clearerr LINKER:--wrap=fflush LINKER:--wrap=getc
    LINKER:--wrap=fgetc    LINKER:--wrap=getchar LINKER:--wrap=putc LINKER:--wrap=fputc LINKER:--wrap=fputs)
endif()

# Takes the place of calls that only Linux has.
if(NOT WIN32)
  # Faults of system calls. Only a program that links this has its calls wrapped.
  add_library(kvn_test_system_faults STATIC ${CMAKE_CURRENT_LIST_DIR}/system_faults.cpp)
  target_link_libraries(kvn_test_system_faults PUBLIC kvn_test_basics PRIVATE kvn_warnings)
  target_link_options(kvn_test_system_faults INTERFACE
    LINKER:--wrap=open LINKER:--wrap=write LINKER:--wrap=fsync LINKER:--wrap=close LINKER:--wrap=rename
    LINKER:--wrap=renameat2 LINKER:--wrap=link LINKER:--wrap=fdatasync LINKER:--wrap=ftruncate)
endif()

# Faults of allocation: of the operators new, and of malloc. All objects are linked, to take their names' place.
foreach(allocator new malloc)
  add_library(kvn_test_${allocator}_faults OBJECT EXCLUDE_FROM_ALL ${CMAKE_CURRENT_LIST_DIR}/allocation_faults.cpp
                                                                 ${CMAKE_CURRENT_LIST_DIR}/${allocator}_faults.cpp
                                                                 ${KVN_TEST_SYSTEM}/caller.cpp)
  target_link_libraries(kvn_test_${allocator}_faults PUBLIC kvn_test_basics PRIVATE kvn_warnings)
endforeach()
