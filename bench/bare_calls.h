// The floor under a load: the calls of the platform with nothing round them.
#ifndef KVN_FPGA_BENCH_BARE_CALLS_H
#define KVN_FPGA_BENCH_BARE_CALLS_H

#include <cstdint>

/// Sends that many pieces of 8 bytes, from a shared library into the program as the library's calls go.
void make_bare_calls(std::uint64_t calls);

#endif
