// SPDX-License-Identifier: Apache-2.0
// The RBT text format: words in lines, header lines, and data lines read as fgets and strlen see them.
#include "formats/rbt_format.h"

#include "kvnfpgai.h"
#include "streams.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

using namespace std::string_literals;

namespace
{
/// The line that a text begins with, as the readers of headers take it.
RbtLine line_of(std::string_view text)
{
    RbtLine line;
    const File file = stream_of(text);
    EXPECT_TRUE(line.read(file.get()));
    return line;
}

std::string device_of(std::string_view part_line)
{
    char device[255];
    line_of(part_line).copy_device(device);
    return device;
}

/// The stated bits, or -1 without a "bits:".
std::int32_t bits_of(std::string_view text)
{
    std::int32_t bits = 0;
    return line_of(text).find_bit_count(bits) ? bits : -1;
}

/// What reading data lines came to.
struct Data {
    Bytes bytes;
    int wrong_length = -1; ///< of the line that stopped the reading, if one did
    bool operator==(const Data&) const = default;
};

void PrintTo(const Data& data, std::ostream* out)
{
    *out << data.bytes.size() << " bytes, wrong length " << data.wrong_length;
}

/// Line by line, with fgets into 40 bytes and strlen.
Data read_line_by_line(FILE* file)
{
    Data data;
    char line[40];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        const std::size_t length = std::strlen(line);
        if (length != 33) {
            data.wrong_length = static_cast<int>(length);
            break;
        }
        for (std::size_t group = 0; group < 4; ++group) {
            unsigned byte = 0;
            for (std::size_t bit = 0; bit < 8; ++bit)
                if (line[8 * group + bit] == '1')
                    byte |= 1U << bit;
            data.bytes.push_back(static_cast<std::uint8_t>(byte));
        }
    }
    return data;
}

Data read_in_blocks(FILE* file, std::size_t limit)
{
    Data data;
    RbtDataReader reader{file};
    for (;;) {
        Bytes words(limit * WORD_SIZE);
        const std::size_t count = reader.read(words.data(), limit);
        words.resize(count * WORD_SIZE);
        data.bytes.insert(data.bytes.end(), words.begin(), words.end());
        if (count < limit)
            break;
    }
    if (reader.found_wrong_line())
        data.wrong_length = reader.wrong_length();
    return data;
}

void expect_read_alike(const std::string& text, std::size_t limit = 625)
{
    const File ended = stream_of(text);
    const File ended_too = stream_of(text);
    ASSERT_EQ(read_in_blocks(ended.get(), limit), read_line_by_line(ended_too.get())) << text;
    const File failing = stream_with_error_behind(text);
    const File failing_too = stream_with_error_behind(text);
    ASSERT_EQ(read_in_blocks(failing.get(), limit), read_line_by_line(failing_too.get())) << text;
}

std::string random_line(std::mt19937& random)
{
    std::string line(32, '0');
    for (char& c : line)
        c = random() % 2 == 0 ? '0' : '1';
    return line + '\n';
}

/// Spoils a text in one of the ways in which files are spoilt.
void damage(std::string& text, std::mt19937& random)
{
    if (text.empty())
        return;
    const std::size_t place = random() % text.size();
    constexpr char others[] = "01\n\r\0 2xX";
    const char other = others[random() % (sizeof others - 1)];
    switch (random() % 5) {
    case 0:
        text[place] = other;
        break;
    case 1:
        text.insert(place, 1, other);
        break;
    case 2:
        text.insert(place, random() % 50, other);
        break;
    case 3:
        text.erase(place, random() % 40);
        break;
    default:
        text.resize(place);
        break;
    }
}

constexpr char ZEROS[] = "00000000000000000000000000000000";
} // namespace

TEST(RbtFormat, AWordIsFoundAtItsFirstPlaceInAnyCaseAndThePositionIsLeftWithoutOne)
{
    constexpr std::int32_t untouched = -7;
    const struct {
        const char* line;
        const char* word;
        std::int32_t position;
    } rows[] = {{"Bits:   12 bits: 13", "bits:", 0},
                {"Date: BITS: 12", "bits:", 6},
                {"x bits:", "BiTs:", 2},
                {"bibits:", "bits:", 2},
                {"bits:", "bits:", 0},
                {"bits 12", "bits:", untouched},
                {"bit", "bits:", untouched},
                {"", "bits:", untouched},
                {"bits:", "", untouched},
                {"", "", untouched}};
    for (const auto& row : rows) {
        std::int32_t position = untouched;
        EXPECT_EQ(findin(row.line, row.word, &position) == 1, row.position != untouched) << row.line;
        EXPECT_EQ(position, row.position) << row.line;
        EXPECT_EQ(isinline(row.line, row.word) == 1, row.position != untouched) << row.line;
    }
}

TEST(RbtFormat, OnlyTheExactTitleIsATitle)
{
    EXPECT_TRUE(line_of("Xilinx ASCII Bitstream\n").is_title());
    for (const char* text :
         {"Xilinx ASCII Bitstream\r\n", "Xilinx ASCII Bitstream \n", "Xilinx ASCII Bitstream",
          "xilinx ASCII Bitstream\n", " Xilinx ASCII Bitstream\n", "\n"})
        EXPECT_FALSE(line_of(text).is_title()) << text;
}

TEST(RbtFormat, AHeaderLineIsReadUpTo254Characters)
{
    const File file = stream_of(std::string(253, 'x') + '\n' + std::string(254, 'y') + '\n');
    RbtLine line;
    EXPECT_TRUE(line.read(file.get()));
    EXPECT_EQ(line.text, std::string(253, 'x') + '\n');
    EXPECT_TRUE(line.read(file.get()));
    EXPECT_EQ(line.text, std::string(254, 'y')) << "a longer line comes in pieces";
    EXPECT_TRUE(line.read(file.get()));
    EXPECT_STREQ(line.text, "\n");
    EXPECT_FALSE(line.read(file.get()));
}

TEST(RbtFormat, TheDeviceStandsBehindTheFirstBlanksAndEndsWithItsLine)
{
    EXPECT_EQ(device_of("Part:  \t2v3000fg676\n"), "2v3000fg676");
    EXPECT_EQ(device_of("whatever 2v3000fg676\n"), "2v3000fg676");
    EXPECT_EQ(device_of("Part:\t2v3000 fg676 \r\n"), "2v3000 fg676 \r") << "blanks and a return belong to it";
    EXPECT_EQ(device_of("Part: \n"), "");
    EXPECT_EQ(device_of("Part:2v3000fg676\n"), "") << "no blank, no device";
    EXPECT_EQ(device_of("\n"), "");
    EXPECT_EQ(device_of("Part: 2v3000fg676"), "2v3000fg676");
    EXPECT_EQ(device_of("P " + std::string(300, 'x')), std::string(252, 'x'));
}

TEST(RbtFormat, TheBitCountStandsBehindTheFirstBitsInAnyCaseAndSaturates)
{
    const std::pair<const char*, std::int32_t> rows[] = {
        {"Bits:     10494368\n", 10494368},
        {"BITS:\t64", 64},
        {"bits:32 bits: 64\n", 32},
        {"2006/02/17 12:00:00bits:   96\n", 96},
        {"bits: +12x\n", 12},
        {"bits: -32\n", -32},
        {"bits: many\n", 0},
        {"bits:\n", 0},
        {"number of bits 32\n", -1},
        {"bits: 2147483648\n", 2147483647},
        {"bits: -99999999999999999999999\n", -2147483647 - 1}};
    for (const auto& [line, bits] : rows)
        EXPECT_EQ(bits_of(line), bits) << line;
}

TEST(RbtFormat, DataLinesOfTheWrongLengthStopTheReading)
{
    const struct {
        std::string line;
        int length;
    } rows[] = {
        {std::string(31, '0') + '\n', 32},
        {std::string(33, '0') + '\n', 34},
        {"\n", 1},
        {std::string(50, '0') + '\n', 39},
        {std::string(38, '0') + '\n', 39},
        {std::string(32, '0'), 32},
        {"\0\n"s, 0},
        {std::string(32, '0') + "\r\n", 34},
    };
    for (const auto& row : rows) {
        const File file = stream_of(std::string{ZEROS} + '\n' + row.line);
        const Data data = read_in_blocks(file.get(), 625);
        EXPECT_EQ(data.bytes, Bytes(4, 0)) << row.line;
        EXPECT_EQ(data.wrong_length, row.length) << row.line;
    }
}

TEST(RbtFormat, AReadTakesAtMostTheLinesThatWereAskedFor)
{
    const std::string line = std::string{ZEROS} + '\n';
    const File file = stream_of(line + line + line);
    RbtDataReader reader{file.get()};
    std::uint8_t words[3 * WORD_SIZE];
    EXPECT_EQ(reader.read(words, 2), 2U);
    EXPECT_EQ(reader.read(words, 2), 1U);
    EXPECT_EQ(reader.read(words, 2), 0U);
    EXPECT_FALSE(reader.found_wrong_line());
}

TEST(RbtFormat, DataIsReadAsLineByLineWhateverTheFileHolds)
{
    std::mt19937 random{8};
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (auto line = random() % 12; line > 0; --line)
            text += random_line(random);
        for (auto fault = random() % 4; fault > 0; --fault)
            damage(text, random);
        expect_read_alike(text, random() % 5 + 1);
    }
}

TEST(RbtFormat, DataIsReadAsLineByLineAcrossTheBlocks)
{
    std::mt19937 random{9};
    for (int round = 0; round < 20; ++round) {
        std::string text;
        for (int line = 0; line < 4500; ++line) // a little more than two blocks
            text += random_line(random);
        for (unsigned fault = 0; fault < 30; ++fault) // characters that are no '0' and do not end the reading
            text[random() % 4000 * 33 + random() % 32] = fault % 2 == 0 ? 'x' : '1';
        if (round % 2 != 0)
            text.insert(random() % text.size(), 1, '\0');
        expect_read_alike(text);
    }
}

TEST(RbtFormat, CharactersBecomeFourBytesLowestBitFirst)
{
    unsigned char word[4];
    kvn_fpga_imp::process_Bitstream_Word("10000000010000000010000000000001", word);
    EXPECT_EQ(Bytes(word, word + 4), bytes("01 02 04 80"));
    kvn_fpga_imp::process_Bitstream_Word("1xyz 2\t1........0000000O!!!!!!!1", word);
    EXPECT_EQ(Bytes(word, word + 4), bytes("81 00 00 80")) << "whatever is no '1' is a zero";
}

TEST(RbtFormat, AWordIsWrittenWithTheLowestBitFirst)
{
    kvn_fpga_imp session;
    std::string taken;
    File file = unbuffered_stream_into(taken);
    const unsigned char words[][4] = {{0x01, 0x02, 0x04, 0x80}, {0xFF, 0x00, 0x0F, 0xF0}};
    EXPECT_EQ(session.write_rbt_line("design.rbt", file.get(), words[0]), 0);
    EXPECT_EQ(session.write_rbt_line("design.rbt", file.get(), words[1]), 0);
    file.reset();
    EXPECT_EQ(taken, "10000000010000000010000000000001\n"
                     "11111111000000001111000000001111\n");
    EXPECT_STREQ(session.last_error_text, "");
}

TEST(RbtFormat, TheCharacterThatCannotBeWrittenTellsError9295Or9296Or9297)
{
    // Characters 1, 10, 19 and 32 of this line are ones.
    const unsigned char word[] = {0x01, 0x02, 0x04, 0x80};
    for (std::size_t room = 0; room < LINE_CHARS; ++room) {
        kvn_fpga_imp session;
        std::string taken;
        const File file = unbuffered_stream_into(taken, room);
        const bool is_one = room == 0 || room == 9 || room == 18 || room == 31;
        const int number = room == 32 ? 9297 : is_one ? 9295 : 9296;
        EXPECT_EQ(session.write_rbt_line("out.rbt", file.get(), word), number) << room;
        EXPECT_EQ(session.last_error, number);
        EXPECT_EQ(session.last_error_text,
                  "Error " + std::to_string(number) + ". Failed to write to RBT file out.rbt.");
        EXPECT_EQ(taken.size(), room);
    }
}
