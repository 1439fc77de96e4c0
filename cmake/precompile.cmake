# SPDX-License-Identifier: Apache-2.0
# Headers that take longer to read than most files that include them.
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
