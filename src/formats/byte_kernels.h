// SPDX-License-Identifier: Apache-2.0
// Byte kernels: the few operations that touch every byte of a bitstream.
//
// Inside the system a byte holds the first of its eight configuration bits in bit 0. `portable` states each
// kernel in 64-bit arithmetic; `sse2` and `avx2` are kept where they save at least a tenth of its time.
// `fastest` has the best form that the processor offers. All are always compiled and tested against each
// other.
#ifndef KVN_FPGA_FORMATS_BYTE_KERNELS_H
#define KVN_FPGA_FORMATS_BYTE_KERNELS_H

#include "formats/byte_sizes.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include "formats/byte_kernels_avx2.h"
#include "formats/byte_kernels_sse2.h"
#endif

namespace portable
{
/// The first byte in the lowest eight bits, whatever the machine.
constexpr std::uint64_t in_little_endian(std::uint64_t value)
{
    if constexpr (std::endian::native == std::endian::big)
        return __builtin_bswap64(value);
    return value;
}

inline std::uint64_t load(const void* bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return in_little_endian(value);
}

inline void store(void* bytes, std::uint64_t value)
{
    value = in_little_endian(value);
    std::memcpy(bytes, &value, sizeof value);
}

constexpr std::uint64_t repeat(unsigned char byte)
{
    return 0x0101010101010101U * byte;
}

/// Reverses the bits of each of 8 bytes: halves, pairs and neighbours change places.
constexpr std::uint64_t reverse_bits(std::uint64_t v)
{
    v = (v >> 4 & repeat(0x0F)) | (v & repeat(0x0F)) << 4;
    v = (v >> 2 & repeat(0x33)) | (v & repeat(0x33)) << 2;
    return (v >> 1 & repeat(0x55)) | (v & repeat(0x55)) << 1;
}

inline void reverse_block(std::uint8_t* out, const std::uint8_t* in)
{
    store(out, reverse_bits(load(in)));
    store(out + 8, reverse_bits(load(in + 8)));
}

/// Reads lines of 32 characters and a line feed.
/// @return false, with out undefined, when they are not all made of '0' and '1' alone
template <std::size_t Lines>
bool read_plain_lines(std::uint8_t* out, const char* line)
{
    std::uint64_t other = 0;
    for (std::size_t i = 0; i < Lines; ++i, line += LINE_CHARS, out += WORD_SIZE) {
        if (line[WORD_CHARS] != '\n')
            return false;
        for (std::size_t group = 0; group < WORD_SIZE; ++group) {
            const std::uint64_t chars = load(line + 8 * group) ^ repeat('0');
            other |= chars & repeat(0xFE);
            // The multiplication gathers the lowest bit of each character in the top byte, the first one in
            // bit 0.
            out[group] = static_cast<std::uint8_t>((chars & repeat(1)) * 0x0102040810204080U >> 56);
        }
    }
    return other == 0;
}

/// A mask of CHANGES_SIZE bytes that has a one for each that differs from the byte in front of it. There must
/// be one in front of the first.
inline std::uint64_t changes(const std::uint8_t* bytes)
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < CHANGES_SIZE; i += 8) {
        const std::uint64_t difference = load(bytes + i) ^ load(bytes + i - 1);
        // The top bit of each byte is set where any bit of the byte is; the multiplication gathers them.
        const std::uint64_t low = (difference & repeat(0x7F)) + repeat(0x7F);
        const std::uint64_t differs = (low | difference) >> 7 & repeat(1);
        mask |= (differs * 0x0102040810204080U >> 56) << i;
    }
    return mask;
}

/// Writes SINGLES bytes as runs of one: pairs of 1 and the byte.
inline void write_singles(std::uint8_t* pairs, const std::uint8_t* bytes)
{
    for (std::size_t i = 0; i < SINGLES; ++i) {
        pairs[2 * i] = 1;
        pairs[2 * i + 1] = bytes[i];
    }
}

/// Writes the values of SINGLES pairs.
/// @return false, with out undefined, when they are not all runs of one
inline bool read_singles(std::uint8_t* out, const std::uint8_t* pairs)
{
    unsigned other = 0;
    for (std::size_t i = 0; i < SINGLES; ++i) {
        other |= pairs[2 * i] ^ 1U;
        out[i] = pairs[2 * i + 1];
    }
    return other == 0;
}

/// Adds up the counts of the pairs in COUNTS_SIZE bytes: every other byte, from the first one on. This form
/// is the fastest with SSE2 too.
inline std::size_t sum_counts(const std::uint8_t* pairs)
{
    const std::uint64_t counts = 0x00FF00FF00FF00FFU;
    const std::uint64_t sums = (load(pairs) & counts) + (load(pairs + 8) & counts);
    // The multiplication adds the four sums up in the topmost 16 bits.
    return static_cast<std::size_t>(sums * 0x0001000100010001U >> 48);
}

/// Writes a byte as 8 characters.
inline void write_chars(char* chars, std::uint8_t byte)
{
    const std::uint64_t each_bit = repeat(byte) & 0x8040201008040201U;
    // Adding 0x7F carries whichever bit it is into the top.
    const std::uint64_t ones = (each_bit + repeat(0x7F)) >> 7 & repeat(1);
    store(chars, repeat('0') + ones);
}

inline void write_line(char* line, const std::uint8_t* word)
{
    for (std::size_t group = 0; group < WORD_SIZE; ++group)
        write_chars(line + 8 * group, word[group]);
    line[WORD_CHARS] = '\n';
}
} // namespace portable

#if defined(__SSE2__)
namespace fastest
{
using namespace sse2;

template <std::size_t Lines>
bool read_plain_lines(std::uint8_t* out, const char* line)
{
    // For a single line the check and the call cost more than they save.
    if constexpr (Lines > 1)
        if (avx2::is_available())
            return avx2::read_plain_lines<Lines>(out, line);
    return sse2::read_plain_lines<Lines>(out, line);
}

/// Reverses blocks longer than those of reverse_block, if there is a faster form for them.
/// @return how many bytes
inline std::size_t reverse_long_blocks(std::uint8_t* out, const std::uint8_t* in, std::size_t size)
{
    return avx2::is_available() ? avx2::reverse_blocks(out, in, size) : 0;
}
} // namespace fastest
#else
namespace fastest
{
using namespace portable;

inline std::size_t reverse_long_blocks(std::uint8_t*, const std::uint8_t*, std::size_t)
{
    return 0;
}
} // namespace fastest
#endif

#endif
