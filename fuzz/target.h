// SPDX-License-Identifier: Apache-2.0
// The function that each fuzz target defines.
#ifndef KVN_FPGA_FUZZ_TARGET_H
#define KVN_FPGA_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

/// Accepts any bytes. A bug in the program under test ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif
