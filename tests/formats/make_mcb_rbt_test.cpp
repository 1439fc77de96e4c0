// SPDX-License-Identifier: Apache-2.0
// RBT to MCB: the output byte for byte, the console, and the errors of the input.
#include "conversion.h"

#include <filesystem>

using namespace std::string_literals;

namespace
{
class MakeMcbRbt : public ConversionToMcb
{
protected:
    MakeMcbRbt() : ConversionToMcb{&kvn_fpga_imp::Make_mcb_file_rbt, "design.rbt"} {}
};

/// A file of one line of zeros.
RbtFile one_line_of_zeros()
{
    return RbtFile{Bytes(4, 0)};
}

TEST_F(MakeMcbRbt, WritesTheFileByteForByte)
{
    RbtFile file{bytes("FF FF FF FF  FF FF FF 01  02 02 03 03")};
    EXPECT_EQ(convert(file), Succeeds());
    const std::string expected = "\x78\x12\x44\x00\x88\x01\x76\x00"s + field("2v3000fg676") +
                                 field("Date:        \tFri Feb 17 12:34:56 2006\n") + "\x0C\x00\x00\x00"s +
                                 "\x07\xFF\x01\x01\x02\x02\x02\x03"s;
    EXPECT_EQ(mcb(), expected);
    EXPECT_EQ(log(), (Lines{R"(| \nGenerating an MCB file from design.rbt.\n)",
                            R"(| Checking header section of file <design.rbt>.\n)",
                            R"(| \r% Done: 100, stored 5 bytes representing 96 bits\n)",
                            R"(| The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbRbt, SaysMoreWhenVerbose)
{
    session.verbose = 1;
    EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
    EXPECT_EQ(log(), (Lines{R"(| \nGenerating an MCB file from design.rbt.\n)",
                            R"(| Checking header section of file <design.rbt>.\n)",
                            R"(| The bitstream is for a 2v3000fg676 device.\n)",
                            R"(| Time and date string is:\nDate:        \tFri Feb 17 12:34:56 2006\n\n)",
                            R"(| The bitstream contains 32 configuration bits.\n)",
                            R"(| \r% Done: 100, stored 2 bytes representing 32 bits\n)",
                            R"(| The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbRbt, Error9256WhenTheStatedBitsDifferButTheFileIsComplete)
{
    for (const long stated : {64L, 31L, 33L, 2147483647L}) {
        EXPECT_EQ(convert(one_line_of_zeros().stated_bits(stated)),
                  Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
        EXPECT_EQ(data_section(), bytes("04 00"));
        EXPECT_EQ(mcb().size(), 524U);
    }
    EXPECT_EQ(prints().back(), R"(\r% Done: 0, stored 2 bytes representing 2147483647 bits\n)");
}

TEST_F(MakeMcbRbt, TheDeviceIsNotComparedWithTheModules)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
}

TEST_F(MakeMcbRbt, Error9256OfNoStatedBitsComesWithoutProgress)
{
    EXPECT_EQ(convert(RbtFile{Bytes(2500, 0)}.stated_bits(0)),
              Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.rbt.\n)",
                               R"(Checking header section of file <design.rbt>.\n)",
                               R"(\r% Done: 100, stored 11 bytes representing 0 bits\n)"}));
}

TEST_F(MakeMcbRbt, TheOutputStandsBesideTheInputWithThreeCharactersReplaced)
{
    std::filesystem::create_directory("designs.old");
    for (const std::string name : {"DESIGN", "designs.old/design", "50%n%s"}) {
        clear_log();
        EXPECT_EQ(convert_as(name + ".RBT", one_line_of_zeros()), Succeeds());
        EXPECT_EQ(read_file(name + ".mcb").size(), 524U);
        EXPECT_EQ(prints().front(), "\\nGenerating an MCB file from " + name + ".RBT.\\n");
    }
}

/// A file that is spoilt in one place, and what then stands in the MCB file.
struct Fault : FileFault<RbtFile> {
    std::size_t written; ///< the size of the MCB file, 0 when there is none
};

std::string unreadable(int number)
{
    return "Error " + std::to_string(number) + ". Failed to read header section of RBT file design.rbt.";
}

std::string wrong_line(int bits)
{
    return "Error 9251. Incorrect line length. Bit_count = " + std::to_string(bits) +
           ". In RBT file design.rbt.";
}

const char* const NO_TITLE = "Error 9241. Invalid first line in RBT file design.rbt.";
const char* const NO_BITS = "Error 9257. Failed to find bit size of RBT file design.rbt.";

const Fault file_faults[] = {
    {{"EmptyFile", [](auto& file) { file.cut_after(0); }, unreadable(9240)}, 0},
    {{"CarriageReturn", [](auto& file) { file.header[0].insert(22, "\r"); }, NO_TITLE}, 0},
    {{"TrailingBlank", [](auto& file) { file.header[0].insert(22, " "); }, NO_TITLE}, 0},
    {{"TitleOnly", [](auto& file) { file.cut_after(1); }, unreadable(9245)}, 8},
    {{"NoPartLine", [](auto& file) { file.cut_after(4); }, unreadable(9245)}, 8},
    {{"NothingBehindThePartLine", [](auto& file) { file.cut_after(5); }, unreadable(9247)}, 263},
    {{"NothingBehindTheDateLine", [](auto& file) { file.cut_after(6); }, unreadable(9249)}, 518},
    {{"NoBits", [](auto& file) { file.header.back() = "Bits 64\n"; }, NO_BITS}, 518},
    {{"TwoDateLines", [](auto& file) { file.header.insert(file.header.begin() + 5, "Date\n"); }, NO_BITS},
     518},
    {{"ShortLine", [](auto& file) { file.data[1].erase(0, 1); }, wrong_line(32)}, 522 + 2 * 3},
    {{"LongLine", [](auto& file) { file.data[0].insert(0, "0"); }, wrong_line(0)}, 522},
    {{"EmptyLineAtTheEnd", [](auto& file) { file.tail = "\n"; }, wrong_line(64)}, 522 + 2 * 7},
    {{"LineWithoutALineFeed", [](auto& file) { file.data[1].pop_back(); }, wrong_line(32)}, 522 + 2 * 3},
};

using MakeMcbRbtFault = With<MakeMcbRbt, Fault>;

TEST_P(MakeMcbRbtFault, EndsTheConversion)
{
    RbtFile file{bytes("01 02 03 04 05 06 07 08")};
    GetParam().damage(file);
    EXPECT_EQ(convert(file), Fails(GetParam().text));
    ASSERT_EQ(file_exists("design.mcb"), GetParam().written != 0);
    if (GetParam().written != 0) {
        EXPECT_EQ(mcb().size(), GetParam().written) << "what was written stays on disk";
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, MakeMcbRbtFault, testing::ValuesIn(file_faults), ErrorName{});

// What a read error cuts off is as if the file ended there.
TEST_F(MakeMcbRbt, AReadErrorIsError9240Or9245Or9247Or9249OfItsLineAndError9256InTheData)
{
    const std::string text = RbtFile{bytes("01 02 03 04 05 06 07 08")}.text();
    const int numbers[] = {9240, 9245, 9245, 9245, 9245, 9247, 9249, 9256, 9256};
    std::size_t place = 0;
    for (const int number : numbers) {
        EXPECT_EQ(convert(stream_failing_at(text, place + 1)).number, number) << place;
        place = text.find('\n', place) + 1;
    }
    EXPECT_EQ(data_section(), bytes("01 01 01 02 01 03 01 04"));
}
} // namespace
