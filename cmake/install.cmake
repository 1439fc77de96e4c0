# SPDX-License-Identifier: Apache-2.0
# Installs the library, its public headers, the CMake and pkg-config packages; the programs and the virtual carriers, which
# are optional, have rules of their own for their files.
include(CMakePackageConfigHelpers)

# Writes NAMEConfig.cmake and NAMEConfigVersion.cmake beside the targets that were exported as NAMETargets.
function(kvn_install_cmake_package name version)
  set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  install(EXPORT ${name}Targets NAMESPACE kvn_fpga:: DESTINATION ${folder})
  configure_package_config_file(cmake/${name}Config.cmake.in ${PROJECT_BINARY_DIR}/${name}Config.cmake
                                INSTALL_DESTINATION ${folder})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/${name}ConfigVersion.cmake VERSION ${version}
                                   COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/${name}Config.cmake ${PROJECT_BINARY_DIR}/${name}ConfigVersion.cmake
          DESTINATION ${folder})
endfunction()

# Sets `result` to a folder as a package file names it: seen from that file, so that an installation can be moved, unless
# the folder was given as an absolute path.
function(kvn_relocatable result folder)
  if(IS_ABSOLUTE ${folder})
    set(${result} ${folder} PARENT_SCOPE)
  else()
    set(${result} "\${prefix}/${folder}" PARENT_SCOPE)
  endif()
endfunction()

function(kvn_install_pkg_config_file name version)
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  if(IS_ABSOLUTE ${folder})
    set(prefix ${CMAKE_INSTALL_PREFIX})
  else()
    file(RELATIVE_PATH up /prefix/${folder} /prefix)
    string(REGEX REPLACE "/$" "" up "${up}")
    set(prefix "\${pcfiledir}/${up}")
  endif()
  kvn_relocatable(libdir ${CMAKE_INSTALL_LIBDIR})
  kvn_relocatable(includedir ${CMAKE_INSTALL_INCLUDEDIR})
  kvn_relocatable(mwapi_includedir ${KVN_INSTALL_MWAPIDIR})
  kvn_relocatable(providerdir ${KVN_INSTALL_PROVIDERDIR})
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${folder})
endfunction()

install(TARGETS kvn_fpga kvn_fpga_loaded_platform mwapi EXPORT kvn_fpgaTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/kvn_fpga.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES platform/mwapi.h DESTINATION ${KVN_INSTALL_MWAPIDIR})
kvn_install_cmake_package(kvn_fpga ${PROJECT_VERSION})
kvn_install_pkg_config_file(kvn_fpga ${PROJECT_VERSION})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

if(KVN_BUILD_TOOLS)
  get_target_property(kvn_version kvn_library VERSION)
  kvn_install_cmake_package(kvn ${kvn_version})
  kvn_install_pkg_config_file(kvn ${kvn_version})
  kvn_install_cmake_package(mwvirtual ${PROJECT_VERSION})
  kvn_install_pkg_config_file(mwvirtual ${PROJECT_VERSION})

  # What users read and copy: the pages, racks and examples, which need the programs. The folders are those of this
  # tree, so that links between them work.
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR}
          FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.toml" PATTERN "*.journal")
  install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

  # Where Ansible looks for collections under /usr.
  install(DIRECTORY integrations/ansible/ DESTINATION ${CMAKE_INSTALL_DATADIR}/ansible/collections/ansible_collections/kavrin/fpga
          PATTERN __pycache__ EXCLUDE PATTERN tests EXCLUDE)
endif()

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall COMMENT "Removing what was installed last"
    COMMAND ${CMAKE_COMMAND} -D manifest=${PROJECT_BINARY_DIR}/install_manifest.txt
            -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake)
endif()
