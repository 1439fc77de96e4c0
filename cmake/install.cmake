# SPDX-License-Identifier: Apache-2.0
# Installs the library, its public headers and the CMake package; the programs and the virtual carriers, which are
# optional, have rules of their own.
include(CMakePackageConfigHelpers)

install(TARGETS kvn_fpga kvn_fpga_loaded_platform mwapi EXPORT kvn_fpgaTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/kvn_fpga.h platform/mwapi.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT kvn_fpgaTargets NAMESPACE kvn_fpga:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvn_fpga)
configure_package_config_file(cmake/kvn_fpgaConfig.cmake.in ${PROJECT_BINARY_DIR}/kvn_fpgaConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvn_fpga)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvn_fpgaConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kvn_fpgaConfig.cmake ${PROJECT_BINARY_DIR}/kvn_fpgaConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvn_fpga)

# What users read and copy: the pages, racks, and the example that tests an application on virtual carriers. The
# folders are those of this tree, so that links between them work.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR}
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.toml")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
