# SPDX-License-Identifier: Apache-2.0
# The warnings that the tree is clean of; KVN_WERROR makes them errors, as in CI.
option(KVN_WERROR "Treat warnings as errors" OFF)

add_library(kvn_warnings INTERFACE)
target_compile_options(kvn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                              $<$<BOOL:${KVN_WERROR}>:-Werror>)
