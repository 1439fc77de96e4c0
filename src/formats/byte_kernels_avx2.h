// SPDX-License-Identifier: Apache-2.0
// The byte kernels for AVX2, of which a processor is asked at run time. byte_kernels.h says what each one
// does.
#ifndef KVN_FPGA_FORMATS_BYTE_KERNELS_AVX2_H
#define KVN_FPGA_FORMATS_BYTE_KERNELS_AVX2_H

#include "formats/byte_sizes.h"

#include <immintrin.h>

#include <cstring>

namespace avx2
{
/// Whether this processor has what these forms need.
inline bool is_available()
{
    return __builtin_cpu_supports("avx2");
}

template <std::size_t Lines>
[[gnu::target("avx2")]] bool read_plain_lines(std::uint8_t* out, const char* line)
{
    const __m256i zero_digits = _mm256_set1_epi8('0');
    __m256i digits = _mm256_setzero_si256();
    for (std::size_t i = 0; i < Lines; ++i, line += LINE_CHARS, out += WORD_SIZE) {
        if (line[WORD_CHARS] != '\n')
            return false;
        __m256i values;
        std::memcpy(&values, line, sizeof values);
        values = _mm256_xor_si256(values, zero_digits);
        digits = _mm256_or_si256(digits, values);
        const auto bits = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_slli_epi16(values, 7)));
        std::memcpy(out, &bits, sizeof bits);
    }
    return _mm256_testz_si256(digits, _mm256_set1_epi8(static_cast<char>(0xFE))) != 0;
}

/// Reverses the bits of each byte in whole blocks of 32.
/// @return how many bytes
[[gnu::target("avx2")]] inline std::size_t reverse_blocks(std::uint8_t* out, const std::uint8_t* in,
                                                          std::size_t size)
{
    const __m256i low = _mm256_set1_epi8(0x0F);
    const __m256i reversed_low =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15));
    const __m256i reversed_high = _mm256_slli_epi16(reversed_low, 4);
    std::size_t done = 0;
    for (; done + sizeof(__m256i) <= size; done += sizeof(__m256i)) {
        __m256i v;
        std::memcpy(&v, in + done, sizeof v);
        const __m256i from_low = _mm256_shuffle_epi8(reversed_high, _mm256_and_si256(v, low));
        const __m256i from_high =
            _mm256_shuffle_epi8(reversed_low, _mm256_and_si256(_mm256_srli_epi16(v, 4), low));
        v = _mm256_or_si256(from_low, from_high);
        std::memcpy(out + done, &v, sizeof v);
    }
    return done;
}
} // namespace avx2

#endif
