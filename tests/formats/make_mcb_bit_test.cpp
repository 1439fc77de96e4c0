// SPDX-License-Identifier: Apache-2.0
// BIT to MCB: the output byte for byte, the console, the probe behind the data, and every error.
#include "conversion.h"

using namespace std::string_literals;

namespace
{
class MakeMcbBit : public ConversionToMcb
{
protected:
    MakeMcbBit() : ConversionToMcb{&kvn_fpga_imp::Make_mcb_file_bit, "design.bit"} {}
};

/// What allocation fails when the output's stream is to have no buffer: behind the four texts of the header.
constexpr int OUTPUT_BUFFER = 5;
} // namespace

TEST_F(MakeMcbBit, WritesTheFileByteForByte)
{
    EXPECT_EQ(convert(BitFile{bytes("FF FF FF FF  FF FF FF 01  02 02 03 80")}), Succeeds());
    const std::string expected = "\x78\x12\x44\x00\x88\x01\x76\x00"s + field("2v3000fg676") +
                                 field("2006/02/17 12:34:56") + "\x0C\x00\x00\x00"s +
                                 "\x07\xFF\x01\x01\x02\x02\x01\x03\x01\x80"s;
    EXPECT_EQ(mcb(), expected);
    EXPECT_EQ(log(), (Lines{R"(| \nGenerating an MCB file from design.bit.\n)",
                            R"(| Checking header section of file <design.bit>.\n)",
                            R"(| \r% Done: 100, stored 6 bytes representing 96 bits\n)",
                            R"(| The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbBit, SaysMoreWhenVerbose)
{
    session.verbose = 1;
    EXPECT_EQ(convert(BitFile{Bytes(4, 0)}), Succeeds());
    EXPECT_EQ(log(), (Lines{R"(| \nGenerating an MCB file from design.bit.\n)",
                            R"(| Checking header section of file <design.bit>.\n)",
                            R"(| The bitstream is for a 2v3000fg676 device.\n)",
                            R"(| Time and date string is:\n2006/02/17 12:34:56\n)",
                            R"(| The bitstream contains 32 configuration bits.\n)",
                            R"(| \r% Done: 100, stored 2 bytes representing 32 bits\n)",
                            R"(| The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbBit, ShowsProgressEvery20000Bits)
{
    EXPECT_EQ(convert(BitFile{Bytes(7500, 0)}), Succeeds());
    EXPECT_EQ(prints(), (Lines{R"(\nGenerating an MCB file from design.bit.\n)",
                               R"(Checking header section of file <design.bit>.\n)", R"(\r% Done: 33)",
                               R"(\r% Done: 66)", R"(\r% Done: 100)",
                               R"(\r% Done: 100, stored 31 bytes representing 60000 bits\n)",
                               R"(The bitstream has been compressed.\n)"}));
}

TEST_F(MakeMcbBit, TextsThatAreTooLongAreCut)
{
    BitFile file{Bytes(4, 0)};
    file.device = std::string(400, 'v');
    file.date = std::string(250, 'd');
    EXPECT_EQ(convert(file), Succeeds());
    EXPECT_EQ(device_field(), std::string(254, 'v') + '\0');
    EXPECT_EQ(timestamp_field(), std::string(250, 'd') + " 12:" + '\0');
}

TEST_F(MakeMcbBit, EmptyTextsLeaveABlankBetweenDateAndTime)
{
    BitFile file{Bytes(4, 0)};
    file.device.clear();
    file.date.clear();
    file.time.clear();
    EXPECT_EQ(convert(file), Succeeds());
    EXPECT_EQ(device_field(), field(""));
    EXPECT_EQ(timestamp_field(), field(" "));
}

TEST_F(MakeMcbBit, PassesOnTheHeadersError9338)
{
    BitFile file;
    file.c_key = 'x';
    EXPECT_EQ(convert(file),
              Fails("Error 9338. Expected to find 'c' in header of BIT file design.bit, but found x."));
    EXPECT_FALSE(file_exists("design.mcb"));
}

TEST_F(MakeMcbBit, Error9336WhenTheDeviceIsNotTheSessions)
{
    std::strcpy(session.device_name, "2v1000-4");
    EXPECT_EQ(convert(BitFile{}), Fails("Error 9336. Bitstream design.bit is not for a 2v1000-4 device."));
}

TEST_F(MakeMcbBit, Error9410WhenTheOutputCannotBeCreated)
{
    std::filesystem::create_directory("design.mcb");
    EXPECT_EQ(convert(BitFile{}), Fails("Error 9410. Cannot open/create MCB file design.mcb."));
}

TEST_F(MakeMcbBit, Error9410WhenTheOutputIsTheInputUnderAnotherName)
{
    const BitFile file;
    for (const auto link : linked_as) {
        file.write();
        link("design.bit", "design.mcb");
        EXPECT_EQ(convert(), Fails("Error 9410. Cannot open/create MCB file design.mcb."));
        EXPECT_EQ(read_file("design.bit"), file.content()) << "the input is as it was";
        std::filesystem::remove("design.mcb");
    }
}

TEST_F(MakeMcbBit, Error9422OfANegativeNumberOfStatedBitsComesAfterOneWord)
{
    BitFile file{bytes("01 02 03 04")};
    file.byte_count = 0x1FFFFFFF; // -8 bits
    EXPECT_EQ(convert(file), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
    EXPECT_EQ(prints().back(), R"(\r% Done: -400, stored 5 bytes representing -8 bits\n)");
}

TEST_F(MakeMcbBit, ALengthThatIsNoMultipleOfFourIsError9416OrError9422)
{
    for (const std::size_t size : {29U, 30U, 31U}) {
        const std::string bits = std::to_string(size * 8);
        EXPECT_EQ(convert(BitFile{size}),
                  Fails("Error 9416. Failed to read BIT file design.bit (after 224 bits read, expected " +
                        bits + ")."));
        BitFile file{size};
        file.tail = std::string(1024 + 3, 'x');
        EXPECT_EQ(convert(file), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
    }
}

TEST_F(MakeMcbBit, Error9416OfAFileThatIsCutShortLeavesTheFinishedRuns)
{
    const BitFile file{bytes("01 02 03 04 05 06 07 08")};
    const std::string content = file.content();
    const std::size_t data = file.header().size();
    for (std::size_t kept = 0; kept < 8; ++kept) {
        const auto expected = Fails("Error 9416. Failed to read BIT file design.bit (after " +
                                    std::to_string(kept / 4 * 32) + " bits read, expected 64).");
        write_file("design.bit", content.substr(0, data + kept));
        EXPECT_EQ(convert(), expected) << kept;
        EXPECT_EQ(data_section(), kept < 4 ? Bytes{} : bytes("01 01 01 02 01 03"));
        EXPECT_EQ(convert(stream_failing_at(content, data + kept)), expected) << kept;
        EXPECT_EQ(data_section(), kept < 4 ? Bytes{} : bytes("01 01 01 02 01 03"));
    }
}

TEST_F(MakeMcbBit, Error9417WhenAWordIsShortWithoutAReason)
{
    const BitFile file{bytes("01 02 03 04 05 06 07 08")};
    const HiddenEnd hidden_end;
    for (std::size_t rest = 0; rest < 4; ++rest) {
        write_file("design.bit", file.content().substr(0, file.header().size() + 4 + rest));
        EXPECT_EQ(convert(), Fails("Error 9417. Incorrect word length (" + std::to_string(rest) +
                                   "), bit_count = 32, in BIT file design.bit."));
    }
}

// Bytes are added to bits: only a whole block of 1024 behind the data is noticed.
TEST_F(MakeMcbBit, OnlyAWholeBlockBehindTheDataIsError9422)
{
    BitFile file{64};
    for (const std::size_t more : {1U, 1023U}) {
        file.tail = std::string(more, 'x');
        EXPECT_EQ(convert(file), Succeeds()) << more;
    }
    for (const std::size_t more : {1024U, 5000U}) {
        clear_log();
        file.tail = std::string(more, 'x');
        EXPECT_EQ(convert(file), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
        EXPECT_EQ(prints().at(2).substr(0, 14), R"(\r% Done: 300,)") << "512 bits and 1024";
        EXPECT_EQ(data_section(), run_coded(sample_data(64))) << "the file is complete";
    }
    const std::string content = file.content();
    const std::size_t end = content.size() - 5000;
    EXPECT_EQ(convert(stream_failing_at(content, end + 1023)), Succeeds());
    EXPECT_EQ(convert(stream_failing_at(content, end + 1024)).number, 9422);
}

TEST_F(MakeMcbBit, OfNoStatedBitsOneWordIsReadToError9416OrError9422WithoutProgress)
{
    BitFile file{Bytes(4, 0)};
    file.byte_count = 0;
    EXPECT_EQ(convert(file), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
    EXPECT_EQ(prints().back(), R"(\r% Done: 100, stored 2 bytes representing 0 bits\n)");
    EXPECT_EQ(convert(BitFile{0}),
              Fails("Error 9416. Failed to read BIT file design.bit (after 0 bits read, expected 0)."));
}

TEST_F(MakeMcbBit, ACountBeyond32BitsEndsInError9422OfTheSizeCheck)
{
    BitFile file{Bytes(4, 0)};
    file.byte_count = 0x20000004; // 32 bits and 2^32
    EXPECT_EQ(convert(file), Succeeds());
    EXPECT_EQ(mcb().substr(518, 4), "\x04\x00\x00\x20"s) << "the header's count as it is";
    file.byte_count = 0x10000000;
    EXPECT_EQ(convert(file), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
}

namespace
{
constexpr McbNumbers write_errors{9411, 9412, 9413, 9414, 9415, 9418, 9419, 9420, 9421};

/// A disk that is full within the fields of an error number.
class MakeMcbBitOnAFullDisk : public MakeMcbBit, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_P(MakeMcbBitOnAFullDisk, EndsWithTheErrorOfTheFieldThatDoesNotFit)
{
    expect_full_disks<BitFile>(GetParam(), write_errors, OUTPUT_BUFFER);
}

INSTANTIATE_TEST_SUITE_P(Fields, MakeMcbBitOnAFullDisk, testing::ValuesIn(write_errors),
                         [](const auto& row) { return "Error" + std::to_string(row.param); });

TEST_F(MakeMcbBit, Error9421WhenTheDiskIsFullAtTheEnd)
{
    BitFile{Bytes(4, 0)}.write();
    SmallOutputFile output{523};
    output.gathers = true;
    EXPECT_EQ(convert(), Fails("Error 9421. Cannot write MCB file data to MCB file design.mcb."));
    EXPECT_EQ(prints().back(), R"(\r% Done: 100, stored 2 bytes representing 32 bits\n)")
        << "found behind the last line";
}

TEST_F(MakeMcbBit, Error9422KeepsItsNumberWhenTheDiskIsFullAtTheEnd)
{
    BitFile file{Bytes(4, 0)};
    file.tail = std::string(1024, 'x');
    file.write();
    SmallOutputFile output{523};
    output.gathers = true;
    EXPECT_EQ(convert(), Fails("Error 9422. Incorrect number of bits in BIT file design.bit."));
}

TEST_F(MakeMcbBit, AFullDeviceIsError9418OrError9421AndNeverSuccess)
{
    std::filesystem::create_symlink("/dev/full", "design.mcb");
    for (const std::size_t size : {4U, 1000U, 4000U, 120000U}) {
        Bytes data;
        for (std::size_t i = 0; i < size; ++i)
            data.push_back(static_cast<std::uint8_t>(i));
        const Result failed = convert(BitFile{data});
        EXPECT_GE(failed.number, 9418) << size;
        EXPECT_LE(failed.number, 9421) << size;
    }
}

TEST_F(MakeMcbBit, PassesOnAFailedAllocationOfTheHeaderAsError9329Or9334Or9340Or9345)
{
    const int numbers[] = {9329, 9334, 9340, 9345};
    int allocation = 0;
    for (const int number : numbers) {
        BitFile{}.write();
        fail_allocation_at(++allocation);
        EXPECT_EQ(convert().number, number);
        EXPECT_FALSE(file_exists("design.mcb"));
    }
}
