# SPDX-License-Identifier: Apache-2.0
# Finds liblzma as a static library, whose header must be told.
include(FindPackageHandleStandardArgs)
find_library(LIBLZMA_LIBRARY liblzma.a)
find_path(LIBLZMA_INCLUDE_DIR lzma.h)
find_package_handle_standard_args(LibLZMA DEFAULT_MSG LIBLZMA_LIBRARY LIBLZMA_INCLUDE_DIR)
if(LibLZMA_FOUND AND NOT TARGET LibLZMA::LibLZMA)
  add_library(LibLZMA::LibLZMA UNKNOWN IMPORTED)
  set_target_properties(LibLZMA::LibLZMA PROPERTIES
    IMPORTED_LOCATION ${LIBLZMA_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${LIBLZMA_INCLUDE_DIR}
    INTERFACE_COMPILE_DEFINITIONS LZMA_API_STATIC)
endif()
