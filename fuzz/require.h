// How a fuzz target checks a rule.
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
