// SPDX-License-Identifier: Apache-2.0
// What all loads share: the announcement, the prompts, the load header, the verdict, and the state after a
// failure.
#include "load_fixture.h"

#include <ostream>

namespace
{
enum class Kind { rbt, bit, mcb };

/// The numbers that differ between the loaders.
struct Format {
    Kind kind;
    const char* name;
    const char* file;
    int start;
    int header;
};

const Format formats[] = {
    {Kind::rbt, "Rbt", "design.rbt", 9105, 9106},
    {Kind::bit, "Bit", "design.bit", 9350, 9351},
    {Kind::mcb, "Mcb", "design.mcb", 9156, 9157},
};

class LoadExchangeTest : public LoadFixture, public testing::WithParamInterface<Format>
{
protected:
    LoadExchangeTest() { write_files(sample_data(40)); }

    static void write_files(const Bytes& data)
    {
        RbtFile{data}.write();
        BitFile{data}.write();
        McbFile{data}.write();
    }

    Result load_file()
    {
        switch (GetParam().kind) {
        case Kind::rbt:
            return load_rbt();
        case Kind::bit:
            return load_bit();
        case Kind::mcb:
            break;
        }
        return load_mcb();
    }

    [[nodiscard]] std::string header_check() const
    {
        return "| Checking header section of the file <" + std::string{GetParam().file} + ">.\\n";
    }
};

void PrintTo(const Format& format, std::ostream* out)
{
    *out << format.name;
}
} // namespace

TEST_P(LoadExchangeTest, TheHeaderNamesTheBoardAndTheCoding)
{
    const struct {
        std::uint16_t board;
        const char* plain;
        const char* compressed;
    } rows[] = {{0, "03 05", "0D 05"}, {3, "03 1D", "0D 1D"}, {15, "03 7D", "0D 7D"}};
    for (const auto& row : rows) {
        platform.board("mwc4a", row.board).slot(2, fpga_module(4));
        board_number = row.board;
        session.slot_address = static_cast<std::uint8_t>(row.board << 4 | 2);
        compress(false);
        EXPECT_EQ(load_file(), Succeeds());
        EXPECT_EQ(events.at(1),
                  "* StartSendMessageEx board " + std::to_string(row.board) + " slot 2 timeout 5000");
        EXPECT_EQ(pieces().front(), row.plain);
        compress();
        EXPECT_EQ(load_file(), Succeeds());
        EXPECT_EQ(pieces().front(), row.compressed);
    }
}

TEST_P(LoadExchangeTest, NamesNoCodingBeforeError9105Or9156Or9350OfAMessageThatIsNotOpen)
{
    compress();
    platform.fail("StartSendMessageEx");
    EXPECT_EQ(load_file().number, GetParam().start);
    EXPECT_EQ(events,
              (Lines{header_check(), "* StartSendMessageEx board 0 slot 2 timeout 5000", "* Err2Text 0x77"}));
}

TEST_P(LoadExchangeTest, NamesTheCodingBeforeError9106Or9157Or9351OfTheHeader)
{
    compress();
    platform.fail("SendMessageDataEx");
    EXPECT_EQ(load_file().number, GetParam().header);
    EXPECT_EQ(events.at(2), "| Sending in compressed format.\\n");
}

TEST_P(LoadExchangeTest, NeverCompressSendsPlainBytes)
{
    compress();
    session.never_compress = 1;
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(pieces().front(), "03 05");
    EXPECT_EQ(module.received(), sample_data(40));
    for (const std::string& line : events)
        EXPECT_NE(line, "| Sending in compressed format.\\n");
}

TEST_P(LoadExchangeTest, OnlyTheFirstByteOfTheReplyDecides)
{
    for (const int second : {0, 5, 255}) {
        module.verdict[1] = static_cast<std::uint8_t>(second);
        EXPECT_EQ(load_file(), Succeeds());
    }
    module.load_reply_type = 0xFFFFFFFF;
    EXPECT_EQ(load_file(), Succeeds()) << "nor does the type of the message";
}

TEST_P(LoadExchangeTest, AsksBeforeSendingAndBehindSuccess)
{
    session.prompt_user = 1;
    compress();
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(events.at(1), "?key Press return to send configuration bitstream.");
    EXPECT_EQ(events.at(2), "* StartSendMessageEx board 0 slot 2 timeout 5000");
    EXPECT_EQ(events.at(3), "| Sending in compressed format.\\n");
    EXPECT_EQ(events.at(events.size() - 2), "| Configuration was successful.\\n");
    EXPECT_EQ(events.back(), "?key Press return to continue.");
}

TEST_P(LoadExchangeTest, DoesNotAskBehindError9118Or9172Or9366)
{
    session.prompt_user = 1;
    module.verdict[0] = 4;
    EXPECT_NE(load_file(), Succeeds());
    EXPECT_EQ(events.back(), "* EndOfReceiveMessageEx timeout 5000");
}

TEST_P(LoadExchangeTest, AsksNothingInUnconditionalMode)
{
    EXPECT_EQ(load_file(), Succeeds());
    for (const std::string& line : events)
        EXPECT_FALSE(line.starts_with("?")) << line;
}

TEST_P(LoadExchangeTest, AnnouncesTheModuleWhenItsTypeIsKnown)
{
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(events.front(), header_check()) << "no run knows it";
    session.current_module_type = 2;
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(Lines(events.begin(), events.begin() + 3),
              (Lines{"| \\nLoading configuration bitstream for the KAVRIN-FPGA module ",
                     "| in slot 0x2 (via 'mwc4a 0').\\n", header_check()}));
    session.current_module_type = 4;
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(Lines(events.begin(), events.begin() + 3),
              (Lines{"| \\nLoading configuration bitstream for the KAVRIN-IO module ",
                     "| in slot 0x2 (via 'mwc4a 0').\\n", header_check()}));
    session.current_module_type = 3;
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(events.front(), header_check());
}

TEST_P(LoadExchangeTest, Error9105Or9156Or9350NamesTheSessionsBoardTypeAndTheGivenNumberAndAddress)
{
    open_bus("mwc4a", 0);
    std::strcpy(session.bitstream_file, GetParam().file);
    session.current_module_type = 2;
    platform.fail("StartSendMessageEx");
    FILE* stream = std::fopen(GetParam().file, "rb");
    const auto load_given = [&](auto loader) {
        return result((session.*loader)("given", 7, 0x31, stream, device_name.c_str()));
    };
    const Result failed = GetParam().kind == Kind::rbt   ? load_given(&kvn_fpga_imp::Load_Bitstream_rbt)
                          : GetParam().kind == Kind::bit ? load_given(&kvn_fpga_imp::Load_Bitstream_bit)
                                                         : load_given(&kvn_fpga_imp::Load_Bitstream_mcb);
    EXPECT_EQ(failed, Fails(GetParam().start,
                            "Error " + std::to_string(GetParam().start) +
                                ". Cannot start KSB message, slot 0x31 (via 'mwc4a 7') (api 0x77)."));
    EXPECT_EQ(prints().at(1), "in slot 0x31 (via 'given 7').\\n") << "the announcement names what was given";
    EXPECT_EQ(bus().front(), "StartSendMessageEx board 3 slot 1 timeout 5000");
    close_bus();
}

TEST_P(LoadExchangeTest, TheBoardOfTheHeaderKeepsItsLowBits)
{
    open_bus("mwc4a", 0);
    FILE* stream = std::fopen(GetParam().file, "rb");
    const auto load_given = [&](auto loader) {
        return (session.*loader)("mwc4a", 37, 2, stream, device_name.c_str());
    };
    session.board_number = 37; // 37 * 8 + 5 is 0x12D
    const int error = GetParam().kind == Kind::rbt   ? load_given(&kvn_fpga_imp::Load_Bitstream_rbt)
                      : GetParam().kind == Kind::bit ? load_given(&kvn_fpga_imp::Load_Bitstream_bit)
                                                     : load_given(&kvn_fpga_imp::Load_Bitstream_mcb);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(module.received_header(), bytes("03 2D"));
    close_bus();
}

TEST_P(LoadExchangeTest, WhatAnEarlierLoadLeftInTheBufferGoesOutFirst)
{
    left_over = bytes("11 22 33");
    EXPECT_EQ(load_file(), Succeeds());
    Bytes expected = left_over;
    for (const std::uint8_t byte : sample_data(40))
        expected.push_back(byte);
    EXPECT_EQ(module.received(), expected);
}

TEST_P(LoadExchangeTest, Error9105Or9156Or9350MayHoldPercentSignsOfThePlatform)
{
    platform.set_error_text(0x77, "100% %s %n");
    platform.fail("StartSendMessageEx");
    EXPECT_EQ(load_file(), Fails(GetParam().start,
                                 "Error " + std::to_string(GetParam().start) +
                                     ". Cannot start KSB message, slot 0x2 (via 'mwc4a 0') (100% %s %n)."));
}

TEST_P(LoadExchangeTest, BothModesSendTheSameConfiguration)
{
    const Bytes data = sample_data(200000);
    write_files(data);
    platform.logs_data = false;
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(module.received(), data);
    compress();
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(module.received(), run_coded(data));
}

TEST_P(LoadExchangeTest, TheFileIsClosedBeforeTheMessageIsEnded)
{
    load_file();
    EXPECT_EQ(descriptors_at_end_of_data, count_descriptors());
}

INSTANTIATE_TEST_SUITE_P(Formats, LoadExchangeTest, testing::ValuesIn(formats),
                         [](const auto& row) { return row.param.name; });

namespace
{
class AllLoaders : public LoadFixture
{
};
} // namespace

TEST_F(AllLoaders, PutTheSameBytesOnTheBusForTheSameDesign)
{
    const Bytes data = sample_data(12000);
    for (const bool is_virtex2 : {false, true})
        for (const bool compressed : {false, true}) {
            session.virtex2_family = is_virtex2 ? 1 : 0;
            compress(compressed);
            EXPECT_EQ(load_rbt(RbtFile{data}), Succeeds());
            const Lines from_rbt = pieces();
            EXPECT_EQ(load_bit(BitFile{data}), Succeeds());
            EXPECT_EQ(pieces(), from_rbt);
        }
}
