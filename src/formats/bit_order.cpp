// SPDX-License-Identifier: Apache-2.0
// Reverses the bit order of bytes.
#include "formats/bit_order.h"

#include "formats/byte_kernels.h"
#include "kvnfpgai.h"

namespace
{
std::uint8_t reverse_byte(std::uint8_t byte)
{
    return static_cast<std::uint8_t>(portable::reverse_bits(byte));
}
} // namespace

void reverse_bytes(std::uint8_t* out, const std::uint8_t* in, std::size_t size)
{
    std::size_t i = fastest::reverse_long_blocks(out, in, size);
    for (; i + REVERSED_SIZE <= size; i += REVERSED_SIZE)
        fastest::reverse_block(out + i, in + i);
    for (; i < size; ++i)
        out[i] = reverse_byte(in[i]);
}

unsigned char kvn_fpga_imp::bit_reverse_byte(unsigned char b)
{
    return reverse_byte(b);
}

int kvn_fpga_imp::bit_reverse(unsigned char* destination, const unsigned char* source, int n)
{
    if (n > 0)
        reverse_bytes(destination, source, static_cast<std::size_t>(n));
    return 0;
}
