# SPDX-License-Identifier: Apache-2.0
# The package for Windows, a ZIP: cpack --config build-windows/CPackConfig.cmake
# And what is in it for other compilers, which read import libraries of their own kind.
if(KVN_BUILD_TOOLS)
  find_program(KVN_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
  set(exports ${PROJECT_SOURCE_DIR}/library/kvn.def)
  set(import_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/kvn.lib)
  add_custom_command(OUTPUT ${import_library}
                     COMMAND ${KVN_DLLTOOL} -m i386:x86-64 -D kvn.dll -d ${exports} -l ${import_library}
                     DEPENDS ${exports} VERBATIM)
  add_custom_target(kvn_import_library ALL DEPENDS ${import_library})
  install(FILES ${import_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(KVN_WINDOWS_PACKAGE ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x86_64)
set(CPACK_PACKAGE_FILE_NAME ${KVN_WINDOWS_PACKAGE})
set(CPACK_GENERATOR ZIP)
include(CPack)
