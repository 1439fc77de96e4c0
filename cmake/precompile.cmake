# SPDX-License-Identifier: Apache-2.0
# Headers that take longer to read than most files that include them.

# While it compiles, g++ looks for memory to use again, among all that it has read, precompiled headers too: a tenth of its
# time. No file of this tree needs as many kilobytes.
add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-heapsize=2000000>)

option(KVN_PRECOMPILE "Precompile headers that many files share" ON)

# Lets ccache distinguish precompiled headers.
set(KVN_PRECOMPILED_OPTIONS
  $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess> "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")

# Precompiles headers of libraries for a target: kvn_precompile(TARGET <HEADER>...)
function(kvn_precompile target)
  if(KVN_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${ARGN})
    target_compile_options(${target} PRIVATE ${KVN_PRECOMPILED_OPTIONS})
  endif()
endfunction()
