// Bit order: reversing bytes, and turning the characters of RBT lines into bytes and back.
//
// Inside the system a byte holds the first of its eight configuration bits in bit 0. Each operation has a
// form for SSE2, which every x86-64 has, and one in 64-bit arithmetic for other machines. Reading lines,
// writing them and reversing have one for AVX2 too, chosen at run time. All are always compiled and tested
// against each other.
#ifndef KVN_FPGA_FORMATS_BIT_ORDER_H
#define KVN_FPGA_FORMATS_BIT_ORDER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

/// The bytes of one RBT line, and its characters without and with the line feed.
inline constexpr std::size_t WORD_SIZE = 4;
inline constexpr std::size_t WORD_CHARS = 32;
inline constexpr std::size_t LINE_CHARS = 33;

/// The bytes that reverse_block reverses.
inline constexpr std::size_t REVERSED_SIZE = 16;

/// The bytes that changes looks at.
inline constexpr std::size_t CHANGES_SIZE = 64;

/// The runs of one that are written, or taken, at once.
inline constexpr std::size_t SINGLES = 16;

/// The bytes of the pairs whose counts sum_counts adds up.
inline constexpr std::size_t COUNTS_SIZE = 16;

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

/// Writes a line for each of `count` words, one after the other.
template <void (*WriteLine)(char*, const std::uint8_t*)>
void write_each_line(char* lines, const std::uint8_t* words, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        WriteLine(lines + i * LINE_CHARS, words + i * WORD_SIZE);
}

#if defined(__SSE2__)
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

/// Swaps the groups of bits under mask with those above them.
template <int Distance>
__m128i swap_bits(__m128i v, __m128i mask)
{
    return _mm_or_si128(_mm_and_si128(_mm_srli_epi16(v, Distance), mask),
                        _mm_slli_epi16(_mm_and_si128(v, mask), Distance));
}

inline void reverse_block(std::uint8_t* out, const std::uint8_t* in)
{
    __m128i v = load(in);
    v = swap_bits<4>(v, repeat(0x0F));
    v = swap_bits<2>(v, repeat(0x33));
    store(out, swap_bits<1>(v, repeat(0x55)));
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

/// Writes a line for each of `count` words.
[[gnu::target("avx2")]] inline void write_lines(char* lines, const std::uint8_t* words, std::size_t count)
{
    const __m256i each_bit = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201U));
    // Each half of the register gets two bytes of the word, eight times each.
    const __m256i eight_times =
        _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
    for (; count > 0; --count, lines += LINE_CHARS, words += WORD_SIZE) {
        std::int32_t word;
        std::memcpy(&word, words, sizeof word);
        const __m256i bytes = _mm256_shuffle_epi8(_mm256_set1_epi32(word), eight_times);
        // The comparison gives -1 where the bit is clear, and '1' less 1 is '0'.
        const __m256i clear = _mm256_cmpeq_epi8(_mm256_and_si256(bytes, each_bit), _mm256_setzero_si256());
        const __m256i chars = _mm256_add_epi8(_mm256_set1_epi8('1'), clear);
        std::memcpy(lines, &chars, sizeof chars);
        lines[WORD_CHARS] = '\n';
    }
}
} // namespace avx2

namespace fastest
{
using namespace sse2;

template <std::size_t Lines>
bool read_plain_lines(std::uint8_t* out, const char* line)
{
    // A line alone is not worth the question and the call.
    if constexpr (Lines > 1)
        if (avx2::is_available())
            return avx2::read_plain_lines<Lines>(out, line);
    return sse2::read_plain_lines<Lines>(out, line);
}

/// Reverses blocks that are longer than those of reverse_block, where there is a faster way for them.
/// @return how many bytes
inline std::size_t reverse_long_blocks(std::uint8_t* out, const std::uint8_t* in, std::size_t size)
{
    return avx2::is_available() ? avx2::reverse_blocks(out, in, size) : 0;
}

/// Writes a line for each of `count` words.
inline void write_lines(char* lines, const std::uint8_t* words, std::size_t count)
{
    if (avx2::is_available())
        avx2::write_lines(lines, words, count);
    else
        write_each_line<write_line>(lines, words, count);
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

inline void write_lines(char* lines, const std::uint8_t* words, std::size_t count)
{
    write_each_line<write_line>(lines, words, count);
}
} // namespace fastest
#endif

/// Reverses the bit order of each byte; out and in may be the same.
void reverse_bytes(std::uint8_t* out, const std::uint8_t* in, std::size_t size);

#endif
