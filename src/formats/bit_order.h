// SPDX-License-Identifier: Apache-2.0
// Bit order: reverses the bits of bytes.
#ifndef KVN_FPGA_FORMATS_BIT_ORDER_H
#define KVN_FPGA_FORMATS_BIT_ORDER_H

#include <cstddef>
#include <cstdint>

/// Reverses the bit order of each byte; out and in may be the same.
void reverse_bytes(std::uint8_t* out, const std::uint8_t* in, std::size_t size);

#endif
