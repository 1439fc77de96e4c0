// SPDX-License-Identifier: Apache-2.0
// Generated streams: size, the known CRC words, and the files around them.
#include "bits.h"
#include "bitstream_files.h"
#include "packets.h"
#include "port_support.h"

#include "support/folder_test.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using fpga::Defect;
using fpga::FileDefect;
using fpga::PacketCrc;

struct Write {
    fpga::Register address;
    std::uint32_t word;
    std::uint16_t crc_after;
};

void expect_crc_after_each(PacketCrc crc, std::initializer_list<Write> writes)
{
    for (const Write& write : writes) {
        crc.feed(write.word, write.address);
        EXPECT_EQ(crc.value(), write.crc_after);
    }
}

TEST(Crc, FollowsTheStartOfAStreamOfEachClass)
{
    expect_crc_after_each(PacketCrc{5}, {{fpga::REG_FLR, 0x00000019, 0x2AE0},
                                         {fpga::REG_COR, 0x00043FE5, 0x9A41},
                                         {fpga::REG_IDCODE, 0x01008093, 0x71FE},
                                         {fpga::REG_MASK, 0, 0xD59A},
                                         {fpga::REG_CMD, 9, 0x55E1},
                                         {fpga::REG_FAR, 0, 0xD360},
                                         {fpga::REG_CMD, 1, 0x3C2F}});
    expect_crc_after_each(PacketCrc{4}, {{fpga::REG_FLR, 0x0000000B, 0x6E40},
                                         {fpga::REG_COR, 0x00803F2D, 0x37D2},
                                         {fpga::REG_MASK, 0, 0x8369},
                                         {fpga::REG_CMD, 9, 0xBA8F},
                                         {fpga::REG_FAR, 0, 0x7B10},
                                         {fpga::REG_CMD, 1, 0xCE56}});
}

std::uint32_t word_from_end(const std::vector<std::uint8_t>& stream, std::size_t words)
{
    const std::size_t at = stream.size() - 4 * words;
    return static_cast<std::uint32_t>(stream[at]) << 24 | static_cast<std::uint32_t>(stream[at + 1]) << 16 |
           static_cast<std::uint32_t>(stream[at + 2]) << 8 | stream[at + 3];
}

// The last CRC word covers nothing that depends on the design.
TEST(Stream, EndsInTheKnownCrcWords)
{
    const std::pair<const char*, std::uint32_t> virtex2_class[] = {
        {"2v40", 0x5F57}, {"2v3000", 0x64A7}, {"2vp30", 0x5F57}};
    for (const auto& [name, crc] : virtex2_class)
        EXPECT_EQ(word_from_end(fpga::make_stream(*fpga::find_device(name)), 7), crc) << name;
    const std::pair<const char*, std::uint32_t> virtex_class[] = {
        {"2s15", 0xA490},  {"2s30", 0xC17D},   {"v50", 0xE15A},    {"v100", 0x6B97},   {"v150", 0xE117},
        {"v200", 0x38FE},  {"v300", 0xDCA0},   {"v400", 0x9487},   {"v600", 0x38DA},   {"v800", 0xA2B5},
        {"v1000", 0x2966}, {"v1600e", 0x430C}, {"v2000e", 0xD3C7}, {"v2600e", 0x494F}, {"v3200e", 0xA8BB}};
    for (const auto& [name, crc] : virtex_class)
        EXPECT_EQ(word_from_end(fpga::make_stream(*fpga::find_device(name)), 5), crc) << name;
}

TEST(Stream, RandomFillDependsOnItsSeedAlone)
{
    const fpga::Device& device = *fpga::find_device("2s15");
    const auto first = fpga::make_stream(device, {fpga::Fill::random, 7, Defect::none});
    EXPECT_EQ(first, fpga::make_stream(device, {fpga::Fill::random, 7, Defect::none}));
    EXPECT_NE(first, fpga::make_stream(device, {fpga::Fill::random, 8, Defect::none}));
}

TEST(Stream, LengthCountStreamsHaveNoStartCommandToOmit)
{
    EXPECT_THROW((void)fpga::make_stream(*fpga::find_device("s10"), {fpga::Fill::zero, 1, Defect::no_start}),
                 std::invalid_argument);
}

TEST(RunCode, SplitsLongRuns)
{
    std::vector<std::uint8_t> bytes(300, 0xFF);
    bytes.push_back(0);
    EXPECT_EQ(fpga::run_code(bytes), (std::vector<std::uint8_t>{0xFF, 0xFF, 0x2D, 0xFF, 0x01, 0x00}));
    EXPECT_EQ(fpga::run_code(std::vector<std::uint8_t>{}), std::vector<std::uint8_t>{});
}

class BitstreamFiles : public FolderTest
{
protected:
    const std::vector<std::uint8_t> data{0xFF, 0xFF, 0xFF, 0xFF, 0xAA, 0x99, 0x55, 0x66};
    const fpga::FileLabels labels{"2v3000fg676", "virtex2"};
};

const std::string rbt_header = "Xilinx ASCII Bitstream\n"
                               "Created by kvn_bitgen\n"
                               "Design name: \texample.ncd\n"
                               "Architecture:\tvirtex2\n"
                               "Part:        \t2v3000fg676\n"
                               "Date:        \tFri Feb 17 12:00:00 2006\n";

TEST_F(BitstreamFiles, RbtHasSevenHeaderLinesAndAWordALine)
{
    fpga::write_rbt(path("a.rbt"), data, labels);
    EXPECT_EQ(content("a.rbt"), rbt_header + "Bits:        \t64\n"
                                             "11111111111111111111111111111111\n"
                                             "10101010100110010101010101100110\n");
}

TEST_F(BitstreamFiles, RbtRefusesDataThatEndInsideAWord)
{
    const std::span<const std::uint8_t> seven = std::span{data}.first(7);
    EXPECT_THROW(fpga::write_rbt(path("a.rbt"), seven, labels), std::invalid_argument);
}

TEST_F(BitstreamFiles, RbtMayHaveALineForEachFrame)
{
    fpga::write_rbt(path("a.rbt"), data, labels, FileDefect::none, 10);
    EXPECT_EQ(content("a.rbt"), rbt_header + "Bits:        \t64\n"
                                             "1111111111111111111111111111111110101010\n"
                                             "1001100101\n"
                                             "0101010110\n"
                                             "0110\n");
}

TEST_F(BitstreamFiles, RbtDefects)
{
    fpga::write_rbt(path("title.rbt"), data, labels, FileDefect::title);
    EXPECT_TRUE(content("title.rbt").starts_with("ASCII Bitstream\n"));
    fpga::write_rbt(path("cr.rbt"), data, labels, FileDefect::carriage_returns);
    EXPECT_TRUE(content("cr.rbt").starts_with("Xilinx ASCII Bitstream\r\n"));
    fpga::write_rbt(path("short.rbt"), data, labels, FileDefect::short_line);
    EXPECT_TRUE(content("short.rbt").ends_with("\n1010101010011001010101010110011\n"));
    fpga::write_rbt(path("size.rbt"), data, labels, FileDefect::stated_size);
    EXPECT_NE(content("size.rbt").find("Bits:        \t96\n"), std::string::npos);
    EXPECT_THROW(fpga::write_rbt(path("no.rbt"), data, labels, FileDefect::missing_key),
                 std::invalid_argument);
}

TEST_F(BitstreamFiles, BitHasKeyedFields)
{
    fpga::write_bit(path("a.bit"), std::span{data}.last(4), labels);
    const std::string expected{"\0\x09\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0\0\0\x01"
                               "a\0\x0C"
                               "example.ncd\0"
                               "b\0\x0C"
                               "2v3000fg676\0"
                               "c\0\x0B"
                               "2006/02/17\0"
                               "d\0\x09"
                               "12:00:00\0"
                               "e\0\0\0\x04\xAA\x99\x55\x66",
                               78};
    EXPECT_EQ(content("a.bit"), expected);
}

TEST_F(BitstreamFiles, BitDefects)
{
    fpga::write_bit(path("title.bit"), data, labels, FileDefect::title);
    EXPECT_EQ(content("title.bit").at(2), '\x0E');
    fpga::write_bit(path("key.bit"), data, labels, FileDefect::missing_key);
    EXPECT_EQ(content("key.bit").at(43), 'x');
    fpga::write_bit(path("size.bit"), data, labels, FileDefect::stated_size);
    EXPECT_EQ(content("size.bit").substr(70, 4), std::string("\0\0\0\x0C", 4));
    fpga::write_bit(path("tail.bit"), data, labels, FileDefect::trailing_bytes);
    EXPECT_TRUE(content("tail.bit").ends_with("\x66\xFF\xFF\xFF\xFF"));
    EXPECT_THROW(fpga::write_bit(path("no.bit"), data, labels, FileDefect::short_line),
                 std::invalid_argument);
}

TEST_F(BitstreamFiles, AFolderThatIsNotThereIsReported)
{
    EXPECT_THROW(fpga::write_bit(path("no/such/a.bit"), data, labels), std::runtime_error);
}

// What is small enough for the stream's buffer is written when the file is closed.
TEST_F(BitstreamFiles, ADiskThatIsFullIsNoticedWhenTheFileIsClosed)
{
    try {
        fpga::write_bit("/dev/full", data, labels);
        FAIL() << "nothing was reported";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "cannot write /dev/full");
    }
}

} // namespace
