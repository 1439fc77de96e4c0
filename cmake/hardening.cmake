# SPDX-License-Identifier: Apache-2.0
# What the compiler and the linker do so that a mistake cannot become a way in. Debug builds and sanitizers do without
# the checked C functions: those need optimised code, and sanitizers check more.
option(KVN_HARDEN "Build the library and the programs with the compiler's and the linker's protections" ON)

add_library(kvn_hardening INTERFACE)
if(KVN_HARDEN)
  target_compile_options(kvn_hardening INTERFACE -fstack-protector-strong)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage")
    # Some compilers come with another level: it is taken back first, so both stand in this order.
    target_compile_options(kvn_hardening INTERFACE
                           "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  # The platform's functions are bound when they are first called, so that a host may lack those that it never needs:
  # no "-z now". A host that has them all may ask for binding at the start with LD_BIND_NOW=1.
  target_link_options(kvn_hardening INTERFACE LINKER:-z,relro LINKER:-z,noexecstack)
endif()
