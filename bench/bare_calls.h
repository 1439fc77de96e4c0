// SPDX-License-Identifier: Apache-2.0
// The floor of a load: only the platform calls.
#ifndef KVN_FPGA_BENCH_BARE_CALLS_H
#define KVN_FPGA_BENCH_BARE_CALLS_H

#include <cstdint>

/// Sends that many pieces of 8 bytes, with calls from a shared library into the program as in a load.
void make_bare_calls(std::uint64_t calls);

#endif
