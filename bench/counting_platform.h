// SPDX-License-Identifier: Apache-2.0
// A platform that only counts: one board with one module, which accepts everything and does nothing with it.
#ifndef KVN_FPGA_BENCH_COUNTING_PLATFORM_H
#define KVN_FPGA_BENCH_COUNTING_PLATFORM_H

#include <cstdint>

/// The environment variable that says, by being set, that the module takes compressed data from the start.
/// It reaches the platform in a library of its own.
inline constexpr const char* COUNTING_COMPRESSED = "KVN_COUNTING_COMPRESSED";

/// The environment variable that names the module's device.
inline constexpr const char* COUNTING_DEVICE = "KVN_COUNTING_DEVICE";

/// The environment variable that names a file for the process's memory at its end.
inline constexpr const char* COUNTING_MEMORY = "KVN_COUNTING_MEMORY";

/// The data calls since the last message began, including that of the load header.
struct SentData {
    std::uint64_t calls = 0;
    std::uint64_t bytes = 0;
    std::uint64_t odd_calls = 0; ///< calls of other than 8 bytes
};

/// @return what the library, or a bare call, has sent
const SentData& sent_data();

/// Whether the module reports that it accepts compressed data.
void accept_compressed(bool yes);

#endif
