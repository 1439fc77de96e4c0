# SPDX-License-Identifier: Apache-2.0
# The compiler's and the linker's protections against attacks. Debug builds and sanitizers omit the checked C
# functions: those need optimised code, and sanitizers check more.
option(KVN_HARDEN "Build the library and the programs with the compiler's and the linker's protections" ON)

add_library(kvn_hardening INTERFACE)
if(KVN_HARDEN)
  target_compile_options(kvn_hardening INTERFACE -fstack-protector-strong)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage")
    # Some compilers preset another level: undefine it first, in this order.
    target_compile_options(kvn_hardening INTERFACE
                           "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  if(WIN32)
    target_link_options(kvn_hardening INTERFACE LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
    # The checks' own functions are in a library, which all libraries before it need.
    string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -lssp")
    return()
  endif()
  # No "-z now": the platform's functions are bound at their first call, so that a host may lack those it never needs.
  # A host that has them all may set LD_BIND_NOW=1 to bind at the start.
  target_link_options(kvn_hardening INTERFACE LINKER:-z,relro LINKER:-z,noexecstack)
endif()
