// SPDX-License-Identifier: Apache-2.0
// Bit order: the fast forms agree with each other and with bits moved one by one.
#include "formats/bit_order.h"
#include "formats/byte_kernels.h"
#include "kvnfpgai.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

namespace
{
using Block = std::array<std::uint8_t, 16>;
using Word = std::array<std::uint8_t, WORD_SIZE>;

std::uint8_t reversed(std::uint8_t byte)
{
    unsigned out = 0;
    for (unsigned bit = 0; bit < 8; ++bit)
        if ((byte >> bit & 1U) != 0)
            out |= 0x80U >> bit;
    return static_cast<std::uint8_t>(out);
}

std::string chars_of(const Word& word)
{
    std::string chars;
    for (const std::uint8_t byte : word)
        for (unsigned bit = 0; bit < 8; ++bit)
            chars += (byte >> bit & 1U) != 0 ? '1' : '0';
    return chars;
}

/// The bytes after a buffer must not matter, and must not change.
constexpr char GUARD = 0x55;

template <auto WriteLine>
std::string written_line(const Word& word)
{
    std::string line(LINE_CHARS + 1, GUARD);
    WriteLine(line.data(), word.data());
    EXPECT_EQ(line.back(), GUARD) << "written behind the line";
    line.pop_back();
    return line;
}

template <auto ReadLine>
void expect_plain(const std::string& line, const Word& expected)
{
    Word word{};
    ASSERT_TRUE(ReadLine(word.data(), line.data())) << line;
    EXPECT_EQ(word, expected) << line;
}

/// Every byte in every position, and random words.
std::vector<Word> sample_words()
{
    std::vector<Word> words;
    for (unsigned byte = 0; byte < 256; ++byte)
        for (std::size_t place = 0; place < WORD_SIZE; ++place) {
            Word word{};
            word.at(place) = static_cast<std::uint8_t>(byte);
            words.push_back(word);
        }
    std::mt19937 random{20060217};
    for (int i = 0; i < 2000; ++i) {
        Word word{};
        for (std::uint8_t& byte : word)
            byte = static_cast<std::uint8_t>(random());
        words.push_back(word);
    }
    return words;
}
} // namespace

TEST(BitOrder, AByteIsReversedBitByBit)
{
    EXPECT_EQ(kvn_fpga_imp::bit_reverse_byte(0x01), 0x80);
    EXPECT_EQ(kvn_fpga_imp::bit_reverse_byte(0x02), 0x40);
    EXPECT_EQ(kvn_fpga_imp::bit_reverse_byte(0x04), 0x20);
    EXPECT_EQ(kvn_fpga_imp::bit_reverse_byte(0x08), 0x10);
    for (unsigned byte = 0; byte < 256; ++byte)
        EXPECT_EQ(kvn_fpga_imp::bit_reverse_byte(static_cast<unsigned char>(byte)),
                  reversed(static_cast<std::uint8_t>(byte)));
}

TEST(BitOrder, BytesOfEveryNumberAreReversed)
{
    std::mt19937 random{1};
    for (int count = 0; count < 100; ++count) {
        std::vector<std::uint8_t> source(static_cast<std::size_t>(count));
        std::vector<std::uint8_t> expected;
        for (std::uint8_t& byte : source) {
            byte = static_cast<std::uint8_t>(random());
            expected.push_back(reversed(byte));
        }
        expected.push_back(0x3C);
        std::vector<std::uint8_t> destination(source.size() + 1, 0x3C);
        EXPECT_EQ(kvn_fpga_imp::bit_reverse(destination.data(), source.data(), -count), 0);
        EXPECT_EQ(destination, std::vector<std::uint8_t>(source.size() + 1, 0x3C)) << "nothing, of no number";
        EXPECT_EQ(kvn_fpga_imp::bit_reverse(destination.data(), source.data(), count), 0);
        EXPECT_EQ(destination, expected);
        reverse_bytes(source.data(), source.data(), source.size());
        expected.pop_back();
        EXPECT_EQ(source, expected) << "in place";
    }
}

TEST(BitOrder, TheFormsReverseBlocksAlike)
{
    std::mt19937 random{2};
    for (int i = 0; i < 1000; ++i) {
        Block in{};
        Block expected{};
        for (std::size_t j = 0; j < in.size(); ++j) {
            in.at(j) = static_cast<std::uint8_t>(random());
            expected.at(j) = reversed(in.at(j));
        }
        Block out{};
        portable::reverse_block(out.data(), in.data());
        EXPECT_EQ(out, expected);
        out = {};
        fastest::reverse_block(out.data(), in.data());
        EXPECT_EQ(out, expected);
    }
}

TEST(BitOrder, TheFormsWriteAndReadLinesAlike)
{
    for (const Word& word : sample_words()) {
        const std::string line = chars_of(word) + "\n";
        EXPECT_EQ(written_line<portable::write_line>(word), line);
        EXPECT_EQ(written_line<fastest::write_line>(word), line);
        expect_plain<portable::read_plain_lines<1>>(line, word);
        expect_plain<fastest::read_plain_lines<1>>(line, word);
    }
}
