# SPDX-License-Identifier: Apache-2.0
# What the build for Windows uses of Debian: libraries of headers only, which need a folder of their own, as Linux's
# include folder also holds Linux's C library; the source of GoogleTest; and libraries that are built once for all builds.
set(KVN_WINDOWS_ROOT ${PROJECT_BINARY_DIR}/root)
foreach(library CLI nlohmann toml++)
  file(COPY /usr/include/${library} DESTINATION ${KVN_WINDOWS_ROOT}/include)
endforeach()
file(COPY /usr/share/cmake/nlohmann_json DESTINATION ${KVN_WINDOWS_ROOT}/share/cmake)

set(KVN_WINDOWS_LIBRARIES ${PROJECT_SOURCE_DIR}/build-windows-libraries CACHE PATH "liblzma, libzstd and nettle for Windows")
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/windows-libraries ${KVN_WINDOWS_LIBRARIES}
                COMMAND_ERROR_IS_FATAL ANY)

list(APPEND CMAKE_FIND_ROOT_PATH ${KVN_WINDOWS_ROOT} ${KVN_WINDOWS_LIBRARIES})
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/modules)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${KVN_WINDOWS_ROOT}/include)
set(ENV{PKG_CONFIG_LIBDIR} ${KVN_WINDOWS_LIBRARIES}/lib/pkgconfig)
set(ZLIB_USE_STATIC_LIBS ON)

# Libraries have the names that Windows' programs load: kvn.dll, not libkvn.dll.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
