// SPDX-License-Identifier: Apache-2.0
// The byte kernels for SSE2, which every x86-64 has. byte_kernels.h says what each one does.
#ifndef KVN_FPGA_FORMATS_BYTE_KERNELS_SSE2_H
#define KVN_FPGA_FORMATS_BYTE_KERNELS_SSE2_H

#include "formats/byte_sizes.h"

#include <emmintrin.h>

#include <cstring>

namespace sse2
{
inline __m128i load(const void* bytes)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

inline void store(void* bytes, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(bytes), value);
}

inline __m128i repeat(int byte)
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

inline void reverse_block(std::uint8_t* out, const std::uint8_t* in)
{
    const auto exchange = [](__m128i v, int mask, int distance) {
        const __m128i low = _mm_and_si128(v, repeat(mask));
        const __m128i high = _mm_and_si128(_mm_srli_epi16(v, distance), repeat(mask));
        return _mm_or_si128(_mm_slli_epi16(low, distance), high);
    };
    store(out, exchange(exchange(exchange(load(in), 0x0F, 4), 0x33, 2), 0x55, 1));
}

template <std::size_t Lines>
bool read_plain_lines(std::uint8_t* out, const char* line)
{
    __m128i digits = _mm_setzero_si128();
    // The lowest bit of each character goes to the top of its byte, where movemask gathers it.
    const auto read_half = [&digits](std::uint8_t* half, const char* chars) {
        const __m128i values = _mm_xor_si128(load(chars), repeat('0'));
        digits = _mm_or_si128(digits, values);
        const auto bits = static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_slli_epi16(values, 7)));
        std::memcpy(half, &bits, sizeof bits);
    };
    for (std::size_t i = 0; i < Lines; ++i, line += LINE_CHARS, out += WORD_SIZE) {
        if (line[WORD_CHARS] != '\n')
            return false;
        read_half(out, line);
        read_half(out + WORD_SIZE / 2, line + WORD_CHARS / 2);
    }
    const __m128i other = _mm_andnot_si128(repeat(1), digits);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(other, _mm_setzero_si128())) == 0xFFFF;
}

inline std::uint64_t changes(const std::uint8_t* bytes)
{
    std::uint64_t same = 0;
    for (std::size_t i = 0; i < CHANGES_SIZE; i += 16) {
        const __m128i equal = _mm_cmpeq_epi8(load(bytes + i), load(bytes + i - 1));
        same |= static_cast<std::uint64_t>(_mm_movemask_epi8(equal)) << i;
    }
    return ~same;
}

inline void write_singles(std::uint8_t* pairs, const std::uint8_t* bytes)
{
    const __m128i values = load(bytes);
    store(pairs, _mm_unpacklo_epi8(repeat(1), values));
    store(pairs + 16, _mm_unpackhi_epi8(repeat(1), values));
}

inline bool read_singles(std::uint8_t* out, const std::uint8_t* pairs)
{
    const __m128i first = load(pairs);
    const __m128i second = load(pairs + 16);
    store(out, _mm_packus_epi16(_mm_srli_epi16(first, 8), _mm_srli_epi16(second, 8)));
    const __m128i low = _mm_set1_epi16(0xFF);
    const __m128i counts = _mm_packus_epi16(_mm_and_si128(first, low), _mm_and_si128(second, low));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(counts, repeat(1))) == 0xFFFF;
}

/// Writes 16 characters for two bytes, each of which is there eight times.
inline void write_chars(char* chars, __m128i bytes)
{
    const __m128i each_bit = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201U));
    // The comparison gives -1 where the bit is clear, and '1' less 1 is '0'.
    const __m128i clear = _mm_cmpeq_epi8(_mm_and_si128(bytes, each_bit), _mm_setzero_si128());
    store(chars, _mm_add_epi8(repeat('1'), clear));
}

inline void write_line(char* line, const std::uint8_t* word)
{
    std::int32_t bytes;
    std::memcpy(&bytes, word, sizeof bytes);
    const __m128i once = _mm_cvtsi32_si128(bytes);
    const __m128i twice = _mm_unpacklo_epi8(once, once);
    const __m128i four_times = _mm_unpacklo_epi16(twice, twice);
    write_chars(line, _mm_unpacklo_epi32(four_times, four_times));
    write_chars(line + 16, _mm_unpackhi_epi32(four_times, four_times));
    line[WORD_CHARS] = '\n';
}
} // namespace sse2

#endif
