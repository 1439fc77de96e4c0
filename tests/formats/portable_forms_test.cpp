// SPDX-License-Identifier: Apache-2.0
// The portable forms of the vectorised functions: processors without vectors use them for every bitstream.
#include "formats/byte_kernels.h"
#include "formats/run_coding.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace
{
Bytes numbered(std::size_t size)
{
    Bytes data(size);
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<std::uint8_t>(7 * i + 3);
    return data;
}

Bytes pairs_of_one(const Bytes& values)
{
    Bytes pairs;
    for (const std::uint8_t value : values)
        pairs.insert(pairs.end(), {1, value});
    return pairs;
}

// One more element in every buffer must stay unchanged.
TEST(PortableForms, WriteRunsOfOneAsTheFastestDo)
{
    const Bytes values = numbered(SINGLES + 1);
    Bytes expected = pairs_of_one(values);
    std::fill_n(expected.rbegin(), PAIR_SIZE, std::uint8_t{0});
    for (const auto write : {portable::write_singles, fastest::write_singles}) {
        Bytes pairs(expected.size());
        write(pairs.data(), values.data());
        EXPECT_EQ(pairs, expected);
    }
}

TEST(PortableForms, ReadRunsOfOneAsTheFastestDo)
{
    Bytes values = numbered(SINGLES + 1);
    const Bytes pairs = pairs_of_one(values);
    values.back() = 0;
    for (const auto read_form : {portable::read_singles, fastest::read_singles}) {
        Bytes read(values.size());
        EXPECT_TRUE(read_form(read.data(), pairs.data()));
        EXPECT_EQ(read, values);
    }
}

TEST(PortableForms, RefuseARunOfAnyOtherLengthInAnyPlace)
{
    const Bytes pairs = pairs_of_one(numbered(SINGLES));
    Bytes read(SINGLES);
    for (std::size_t place = 0; place < SINGLES; ++place)
        for (const int count : {0, 2, 3, 128, 129, 255}) {
            Bytes changed = pairs;
            changed[2 * place] = static_cast<std::uint8_t>(count);
            EXPECT_FALSE(portable::read_singles(read.data(), changed.data())) << place << ", " << count;
            EXPECT_FALSE(fastest::read_singles(read.data(), changed.data())) << place << ", " << count;
        }
}

TEST(PortableForms, FindEachChangeAsTheFastestDo)
{
    for (std::size_t place = 0; place <= CHANGES_SIZE; ++place)
        for (const int difference : {1, 2, 0x7F, 0x80, 0xFF}) {
            // One byte before, and a single one that differs from its neighbours.
            Bytes data(CHANGES_SIZE + 1, 0x41);
            data[place] = static_cast<std::uint8_t>(data[place] ^ difference);
            std::uint64_t expected = 0;
            for (std::size_t i = 0; i < CHANGES_SIZE; ++i)
                if (data[i + 1] != data[i])
                    expected |= std::uint64_t{1} << i;
            EXPECT_EQ(portable::changes(data.data() + 1), expected) << place << ", " << difference;
            EXPECT_EQ(fastest::changes(data.data() + 1), expected) << place << ", " << difference;
        }
}

constexpr std::size_t LINES = 16;

struct LineForm {
    const char* name;
    bool (*read)(std::uint8_t*, const char*);
};

/// Every form of reading lines that this processor can run.
std::vector<LineForm> line_forms()
{
    std::vector<LineForm> forms = {{"portable", portable::read_plain_lines<LINES>},
                                   {"fastest", fastest::read_plain_lines<LINES>}};
#if defined(__SSE2__)
    forms.push_back({"SSE2", sse2::read_plain_lines<LINES>});
    if (avx2::is_available())
        forms.push_back({"AVX2", avx2::read_plain_lines<LINES>});
#endif
    return forms;
}

TEST(PortableForms, ReadSeveralLinesAsTheOthersDo)
{
    const Bytes words = numbered(LINES * WORD_SIZE);
    std::string text(LINES * LINE_CHARS, '\0');
    for (std::size_t line = 0; line < LINES; ++line)
        portable::write_line(text.data() + line * LINE_CHARS, words.data() + line * WORD_SIZE);
    for (const LineForm& form : line_forms()) {
        Bytes read(LINES * WORD_SIZE);
        EXPECT_TRUE(form.read(read.data(), text.data())) << form.name;
        EXPECT_EQ(read, words) << form.name;
        for (std::size_t place = 0; place < text.size(); ++place)
            for (unsigned other = 0; other < 256; ++other) {
                const char original = std::exchange(text[place], static_cast<char>(other));
                const bool is_end = place % LINE_CHARS == WORD_CHARS;
                const bool fits = is_end ? other == '\n' : other == '0' || other == '1';
                ASSERT_EQ(form.read(read.data(), text.data()), fits)
                    << form.name << ", " << place << ": " << other;
                text[place] = original;
            }
    }
}

TEST(PortableForms, ReverseLongBlocksAsTheOthersDo)
{
    bool has_long_blocks = false;
#if defined(__SSE2__)
    has_long_blocks = avx2::is_available();
#endif
    Bytes in(32 * 8 + 31);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<std::uint8_t>(i);
    for (std::size_t size = 0; size <= in.size(); ++size) {
        Bytes out(in.size(), 0x55);
        const std::size_t whole = has_long_blocks ? size / 32 * 32 : 0;
        ASSERT_EQ(fastest::reverse_long_blocks(out.data(), in.data(), size), whole);
        for (std::size_t i = 0; i < in.size(); ++i)
            ASSERT_EQ(out[i], i < whole ? portable::reverse_bits(in[i]) : 0x55U) << size << ", " << i;
    }
}
} // namespace
