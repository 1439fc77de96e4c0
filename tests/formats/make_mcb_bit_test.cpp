// SPDX-License-Identifier: Apache-2.0
// BIT to MCB: the output byte for byte, the console, the probe behind the data, and the errors of the input.
#include "conversion.h"

using namespace std::string_literals;

namespace
{
class MakeMcbBit : public ConversionToMcb
{
protected:
    MakeMcbBit() : ConversionToMcb{&kvn_fpga_imp::Make_mcb_file_bit, "design.bit"} {}
};
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
