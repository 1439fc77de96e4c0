// SPDX-License-Identifier: Apache-2.0
// RBT to MCB: the output byte for byte, the console, and every error.
#include "conversion.h"

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
} // namespace

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

// A file of 20000 bits shows its progress once before the summary, one of 19968 bits never.
TEST_F(MakeMcbRbt, ShowsProgressEvery20000Bits)
{
    EXPECT_EQ(convert(RbtFile{Bytes(2500, 0)}), Succeeds());
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.rbt.\n)",
                               R"(Checking header section of file <design.rbt>.\n)", R"(\r% Done: 100)",
                               R"(\r% Done: 100, stored 11 bytes representing 20000 bits\n)",
                               R"(The bitstream has been compressed.\n)"}));
    clear_log();
    EXPECT_EQ(convert(RbtFile{Bytes(2496, 0)}), Succeeds());
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.rbt.\n)",
                               R"(Checking header section of file <design.rbt>.\n)",
                               R"(\r% Done: 100, stored 11 bytes representing 19968 bits\n)",
                               R"(The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbRbt, ProgressIsThePartOfTheStatedBits)
{
    EXPECT_EQ(convert(RbtFile{Bytes(7504, 0)}.stated_bits(60032)), Succeeds());
    EXPECT_EQ(prints().at(2), R"(\r% Done: 33)");
    EXPECT_EQ(prints().at(3), R"(\r% Done: 66)");
    EXPECT_EQ(prints().at(4), R"(\r% Done: 99)");
    EXPECT_EQ(prints().at(5), R"(\r% Done: 100, stored 31 bytes representing 60032 bits\n)");
}

TEST_F(MakeMcbRbt, OneLineOfZerosGivesOneRun)
{
    EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
    EXPECT_EQ(mcb().size(), 524U);
    EXPECT_EQ(data_section(), bytes("04 00"));
    EXPECT_EQ(prints().at(2), R"(\r% Done: 100, stored 2 bytes representing 32 bits\n)");
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

TEST_F(MakeMcbRbt, RunsCrossLinesAndSplitAt255)
{
    Bytes data(300, 0xFF);
    data.push_back(0);
    data.insert(data.end(), 3, 0);
    EXPECT_EQ(convert(RbtFile{data}), Succeeds());
    EXPECT_EQ(data_section(), bytes("FF FF 2D FF 04 00"));
}

TEST_F(MakeMcbRbt, WithoutADateLineTheTimestampIsWhatStandsBeforeBits)
{
    session.verbose = 1;
    EXPECT_EQ(convert(one_line_of_zeros().without_date()), Succeeds());
    EXPECT_EQ(timestamp_field(), field("\n"));
    EXPECT_EQ(prints().at(3), R"(Time and date string is:\n\n)");

    RbtFile file = one_line_of_zeros().without_date();
    file.header.back() = "2006/02/17 BITS: 32 bits: 64\n";
    EXPECT_EQ(convert(file), Succeeds());
    EXPECT_EQ(timestamp_field(), field("2006/02/17 \n"));
    EXPECT_EQ(prints().at(10), R"(Time and date string is:\n2006/02/17 \n)");
}

TEST_F(MakeMcbRbt, TextsOfEveryLengthFitTheirFields)
{
    RbtFile file = one_line_of_zeros();
    file.header[RbtFile::PART] = "P " + std::string(251, 'p') + '\n';
    file.header[RbtFile::DATE] = std::string(253, 'd') + '\n';
    EXPECT_EQ(convert(file), Succeeds());
    EXPECT_EQ(device_field(), field(std::string(251, 'p')));
    EXPECT_EQ(timestamp_field(), field(std::string(253, 'd') + '\n'));
}

TEST_F(MakeMcbRbt, Error9256LeavesTheStatedBitsBy8TowardZeroAsByteCount)
{
    const struct {
        long stated;
        const char* count;
    } rows[] = {{39, "04 00 00 00"},
                {7, "00 00 00 00"},
                {-7, "00 00 00 00"},
                {-9, "FF FF FF FF"},
                {2147483647, "FF FF FF 0F"}};
    for (const auto& row : rows) {
        EXPECT_EQ(convert(one_line_of_zeros().stated_bits(row.stated)).number, 9256);
        EXPECT_EQ(byte_count_field(), bytes(row.count)) << row.stated;
    }
}

TEST_F(MakeMcbRbt, TheDeviceIsNotComparedWithTheModules)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
}

TEST_F(MakeMcbRbt, WithoutDataLinesOnePairOfZerosIsWritten)
{
    EXPECT_EQ(convert(RbtFile{Bytes{}}), Succeeds());
    EXPECT_EQ(data_section(), bytes("00 00"));
    EXPECT_EQ(prints().at(2), R"(\r% Done: 100, stored 2 bytes representing 0 bits\n)");
}

TEST_F(MakeMcbRbt, Error9256OfASingleStatedBitComesBehindProgress)
{
    convert(RbtFile{Bytes(2500, 0)}.stated_bits(1));
    EXPECT_EQ(prints().at(2), R"(\r% Done: 2000000)");
}

TEST_F(MakeMcbRbt, Error9256OfNoStatedBitsComesWithoutProgress)
{
    EXPECT_EQ(convert(RbtFile{Bytes(2500, 0)}.stated_bits(0)),
              Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.rbt.\n)",
                               R"(Checking header section of file <design.rbt>.\n)",
                               R"(\r% Done: 100, stored 11 bytes representing 0 bits\n)"}));
}

TEST_F(MakeMcbRbt, Error9256OfANegativeNumberOfStatedBitsComesBehindNegativePercentages)
{
    EXPECT_EQ(convert(RbtFile{Bytes(2500, 0)}.stated_bits(-60000)),
              Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.rbt.\n)",
                               R"(Checking header section of file <design.rbt>.\n)", R"(\r% Done: -33)",
                               R"(\r% Done: -33, stored 11 bytes representing -60000 bits\n)"}));
}

TEST_F(MakeMcbRbt, AnExistingFileIsReplaced)
{
    write_file("design.mcb", std::string(10000, 'x'));
    EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
    EXPECT_EQ(mcb().size(), 524U);
}

TEST_F(MakeMcbRbt, TheOutputsNameIsTheInputsWithThreeCharactersReplaced)
{
    EXPECT_EQ(convert_as("DESIGN.RBT", one_line_of_zeros()), Succeeds());
    EXPECT_EQ(read_file("DESIGN.mcb").size(), 524U);
}

TEST_F(MakeMcbRbt, TheOutputStandsBesideTheInput)
{
    std::filesystem::create_directory("designs.old");
    EXPECT_EQ(convert_as("designs.old/design.rbt", one_line_of_zeros()), Succeeds());
    EXPECT_EQ(read_file("designs.old/design.mcb").size(), 524U);
}

TEST_F(MakeMcbRbt, AFileNameWithPercentSignsIsPrintedAsItIs)
{
    EXPECT_EQ(convert_as("50%n%s.rbt", one_line_of_zeros()), Succeeds());
    EXPECT_EQ(prints().front(), R"(\nGenerating an MCB file from 50%n%s.rbt.\n)");
}

TEST_F(MakeMcbRbt, Error9242WhenTheOutputCannotBeCreated)
{
    std::filesystem::create_directory("design.mcb");
    EXPECT_EQ(convert(one_line_of_zeros()), Fails("Error 9242. Cannot open/create MCB file design.mcb."));
}

TEST_F(MakeMcbRbt, Error9242WhenTheOutputIsTheInputUnderAnotherName)
{
    const RbtFile file = one_line_of_zeros();
    for (const auto link : linked_as) {
        file.write();
        link("design.rbt", "design.mcb");
        EXPECT_EQ(convert(), Fails("Error 9242. Cannot open/create MCB file design.mcb."));
        EXPECT_EQ(read_file("design.rbt"), file.text()) << "the input is as it was";
        std::filesystem::remove("design.mcb");
    }
}

TEST_F(MakeMcbRbt, AnOutputThatIsALinkToAnotherFileIsReplaced)
{
    for (const auto link : linked_as) {
        write_file("other.mcb", std::string(10000, 'x'));
        link("other.mcb", "design.mcb");
        EXPECT_EQ(convert(one_line_of_zeros()), Succeeds());
        EXPECT_EQ(read_file("other.mcb").size(), 524U);
        std::filesystem::remove("design.mcb");
    }
}

namespace
{
/// A file that is spoilt in one place, and what then stands in the MCB file.
struct Fault : FileFault<RbtFile> {
    std::size_t written; ///< the size of the MCB file, 0 when there is none
};

const Fault file_faults[] = {
    {{"EmptyFile", [](RbtFile& file) { file.cut_after(0); },
      "Error 9240. Failed to read header section of RBT file design.rbt."},
     0},
    {{"CarriageReturn", [](RbtFile& file) { file.header[0] = "Xilinx ASCII Bitstream\r\n"; },
      "Error 9241. Invalid first line in RBT file design.rbt."},
     0},
    {{"TrailingBlank", [](RbtFile& file) { file.header[0] = "Xilinx ASCII Bitstream \n"; },
      "Error 9241. Invalid first line in RBT file design.rbt."},
     0},
    {{"TitleOnly", [](RbtFile& file) { file.cut_after(1); },
      "Error 9245. Failed to read header section of RBT file design.rbt."},
     8},
    {{"NoPartLine", [](RbtFile& file) { file.cut_after(4); },
      "Error 9245. Failed to read header section of RBT file design.rbt."},
     8},
    {{"NothingBehindThePartLine", [](RbtFile& file) { file.cut_after(5); },
      "Error 9247. Failed to read header section of RBT file design.rbt."},
     263},
    {{"NothingBehindTheDateLine", [](RbtFile& file) { file.cut_after(6); },
      "Error 9249. Failed to read header section of RBT file design.rbt."},
     518},
    {{"NoBits", [](RbtFile& file) { file.header.back() = "Bits 64\n"; },
      "Error 9257. Failed to find bit size of RBT file design.rbt."},
     518},
    {{"TwoDateLines", [](RbtFile& file) { file.header.insert(file.header.begin() + 5, "Date: x\n"); },
      "Error 9257. Failed to find bit size of RBT file design.rbt."},
     518},
    {{"ShortLine", [](RbtFile& file) { file.data[1].erase(0, 1); },
      "Error 9251. Incorrect line length. Bit_count = 32. In RBT file design.rbt."},
     522 + 2 * 3},
    {{"LongLine", [](RbtFile& file) { file.data[0].insert(0, "0"); },
      "Error 9251. Incorrect line length. Bit_count = 0. In RBT file design.rbt."},
     522},
    {{"EmptyLineAtTheEnd", [](RbtFile& file) { file.tail = "\n"; },
      "Error 9251. Incorrect line length. Bit_count = 64. In RBT file design.rbt."},
     522 + 2 * 7},
    {{"LineWithoutALineFeed", [](RbtFile& file) { file.data[1].pop_back(); },
      "Error 9251. Incorrect line length. Bit_count = 32. In RBT file design.rbt."},
     522 + 2 * 3},
};

class MakeMcbRbtFault : public MakeMcbRbt, public testing::WithParamInterface<Fault>
{
};

} // namespace

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
TEST_F(MakeMcbRbt, AReadErrorInTheHeaderIsError9240Or9245Or9247Or9249OfItsLine)
{
    const RbtFile file = one_line_of_zeros();
    std::size_t place = 0;
    const int numbers[] = {9240, 9245, 9245, 9245, 9245, 9247, 9249};
    for (std::size_t line = 0; line < 7; place += file.header[line].size(), ++line)
        EXPECT_EQ(convert(stream_failing_at(file.text(), place + 1)).number, numbers[line]) << line;
}

TEST_F(MakeMcbRbt, AReadErrorInTheDataEndsInError9256)
{
    const std::string text = RbtFile{bytes("01 02 03 04 05 06 07 08")}.text();
    EXPECT_EQ(convert(stream_failing_at(text, text.size() - 10)),
              Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
    EXPECT_EQ(data_section(), bytes("01 01 01 02 01 03 01 04"));
}

namespace
{
constexpr McbNumbers write_errors{9243, 9244, 9246, 9248, 9250, 9252, 9253, 9254, 9255};

/// A disk that is full within the fields of an error number.
class MakeMcbRbtOnAFullDisk : public MakeMcbRbt, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_P(MakeMcbRbtOnAFullDisk, EndsWithTheErrorOfTheFieldThatDoesNotFit)
{
    expect_full_disks<RbtFile>(GetParam(), write_errors, 1);
}

INSTANTIATE_TEST_SUITE_P(Fields, MakeMcbRbtOnAFullDisk, testing::ValuesIn(write_errors),
                         [](const auto& row) { return "Error" + std::to_string(row.param); });

TEST_F(MakeMcbRbt, ADiskWithJustEnoughRoomIsEnough)
{
    const RbtFile file{bytes("01 02 03 04 05 06 07 08")};
    ASSERT_EQ(convert(file), Succeeds());
    const std::string whole = mcb();
    const SmallOutputFile output{whole.size()};
    fail_allocation_at(1);
    EXPECT_EQ(convert(), Succeeds());
    EXPECT_EQ(output.taken, whole);
}

TEST_F(MakeMcbRbt, Error9255WhenTheDiskIsFullAtTheEnd)
{
    one_line_of_zeros().write();
    SmallOutputFile output{523};
    output.gathers = true;
    EXPECT_EQ(convert(), Fails("Error 9255. Cannot write MCB file data to MCB file design.mcb."));
    EXPECT_EQ(prints().back(), R"(\r% Done: 100, stored 2 bytes representing 32 bits\n)")
        << "found behind the last line";
}

TEST_F(MakeMcbRbt, Error9256KeepsItsNumberWhenTheDiskIsFullAtTheEnd)
{
    one_line_of_zeros().stated_bits(64).write();
    SmallOutputFile output{523};
    output.gathers = true;
    EXPECT_EQ(convert(), Fails("Error 9256. Incorrect number of bits in RBT file design.rbt."));
}

TEST_F(MakeMcbRbt, AFullDeviceIsError9252OrError9255AndNeverSuccess)
{
    std::filesystem::create_symlink("/dev/full", "design.mcb");
    for (const std::size_t words : {0U, 1U, 500U, 1000U, 30000U}) {
        Bytes data;
        for (std::size_t i = 0; i < 4 * words; ++i)
            data.push_back(static_cast<std::uint8_t>(i));
        const Result failed = convert(RbtFile{data});
        EXPECT_GE(failed.number, 9252) << words;
        EXPECT_LE(failed.number, 9255) << words;
        EXPECT_EQ(failed, Fails("Error " + std::to_string(failed.number) +
                                ". Cannot write MCB file data to MCB file design.mcb."));
    }
}
