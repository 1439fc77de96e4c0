// What a fuzz target defines.
#ifndef KVN_FPGA_FUZZ_TARGET_H
#define KVN_FPGA_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

/// Takes any bytes whatever. A mistake of the program under test ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif
