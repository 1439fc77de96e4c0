// SPDX-License-Identifier: Apache-2.0
// The check of a rule in a fuzz target.
#ifndef KVN_FPGA_FUZZ_REQUIRE_H
#define KVN_FPGA_FUZZ_REQUIRE_H

/// Ends the process, so that the fuzzer keeps the input.
[[noreturn]] void broken(const char* rule);

inline void require(bool condition, const char* rule)
{
    if (!condition)
        broken(rule);
}

#endif
