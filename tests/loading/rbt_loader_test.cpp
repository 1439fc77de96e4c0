// SPDX-License-Identifier: Apache-2.0
// The RBT loader: console and bus of whole loads, every error, every odd rule.
#include "load_fixture.h"

#include <ostream>

namespace
{
class RbtLoader : public LoadFixture
{
};

/// Eight bytes that all differ.
RbtFile two_lines()
{
    return RbtFile{bytes("01 02 03 04 05 06 07 08")};
}
} // namespace

TEST_F(RbtLoader, SendsAFileInPlainMode)
{
    EXPECT_EQ(load_rbt(RbtFile{bytes("01 02 03 04 05 06 07 08 09 0A 0B 0C")}), Succeeds());
    EXPECT_EQ(
        events,
        (Lines{"| Checking header section of the file <design.rbt>.\\n",
               "* StartSendMessageEx board 0 slot 2 timeout 5000", "* SendMessageDataEx 03 05 timeout 5000",
               "* SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000",
               "* SendMessageDataEx 09 0A 0B 0C timeout 5000", "| \\r% Done: 100\\n",
               "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
               "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
               "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"}));
}

TEST_F(RbtLoader, SendsAFileInCompressedMode)
{
    compress();
    session.verbose = 1;
    EXPECT_EQ(load_rbt(RbtFile{bytes("AA AA AA AA AA 01 02 02 03 03 03 03")}), Succeeds());
    EXPECT_EQ(events,
              (Lines{"| Checking header section of the file <design.rbt>.\\n",
                     "| The bitstream is for a 2v3000fg676 device.\\n",
                     "| The bitstream contains 96 configuration bits.\\n",
                     "* StartSendMessageEx board 0 slot 2 timeout 5000", "| Sending in compressed format.\\n",
                     "* SendMessageDataEx 0D 05 timeout 5000",
                     "* SendMessageDataEx 05 AA 01 01 02 02 04 03 timeout 5000", "| \\r% Done: 100\\n",
                     "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
                     "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
                     "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"}));
}

namespace
{
const std::string plain_failure = "Error 9140. Cannot send KSB message data, board \"mwc4a 0\" (api 0x77).";

/// The calls of a load with these calls for its data.
std::vector<std::string> whole(const std::vector<std::string>& data)
{
    return whole_load({9105, 9106, 9114, 9115, 9116, 9117}, data);
}

class RbtLoaderCall : public RbtLoader, public testing::WithParamInterface<FailedCall>
{
};
} // namespace

TEST_P(RbtLoaderCall, ThatFailsHasItsOwnError)
{
    const bool plain = GetParam().load == "Plain";
    compress(!plain);
    if (plain)
        RbtFile{sample_data(20)}.write();
    else
        two_lines().write();
    // A byte left over from an earlier load turns count and value of the pieces round.
    if (GetParam().load == "PiecesThatEndWithACount")
        left_over = {0x55};
    expect_failed_call(GetParam(), [this] { return load_rbt(); });
}

INSTANTIATE_TEST_SUITE_P(Loads, RbtLoaderCall,
                         testing::ValuesIn(failed_calls({
                             {"Plain", whole({plain_failure, plain_failure, cannot_send(9122)})},
                             {"PiecesThatEndWithAValue", whole({cannot_send(9109), cannot_send(9111)})},
                             {"PiecesThatEndWithACount",
                              whole({cannot_send(9108), cannot_send(9110), cannot_send(9122)})},
                         })),
                         RowName{});

TEST_F(RbtLoader, Error9140DropsTheRestOfItsWord)
{
    left_over = {0x55, 0x55};
    platform.fail("SendMessageDataEx", 2);
    EXPECT_EQ(load_rbt(two_lines()).number, 9140);
    EXPECT_EQ(pieces().back(), "55 55 01 02 03 04 05 06");
    EXPECT_EQ(session.send_count, 0U);
}

namespace
{
/// A file that is spoilt in its header.
struct HeaderFault {
    int number;
    const char* name;
    void (*spoil)(RbtFile& file);
    const char* text;
};

const HeaderFault header_faults[] = {
    {9100, "EmptyFile", [](RbtFile& file) { file.cut_after(0); },
     "Error 9100. Failed to read header section of RBT file design.rbt."},
    {9101, "CarriageReturn", [](RbtFile& file) { file.header[0] = "Xilinx ASCII Bitstream\r\n"; },
     "Error 9101. Invalid first line in RBT file design.rbt."},
    {9101, "TrailingBlank", [](RbtFile& file) { file.header[0] = "Xilinx ASCII Bitstream \n"; },
     "Error 9101. Invalid first line in RBT file design.rbt."},
    {9101, "NoLineFeed", [](RbtFile& file) { file.cut_after(1).header[0].pop_back(); },
     "Error 9101. Invalid first line in RBT file design.rbt."},
    {9102, "TitleOnly", [](RbtFile& file) { file.cut_after(1); },
     "Error 9102. Failed to read header section of RBT file design.rbt."},
    {9102, "NoPartLine", [](RbtFile& file) { file.cut_after(4); },
     "Error 9102. Failed to read header section of RBT file design.rbt."},
    {9103, "OtherDevice", [](RbtFile& file) { file.device("2v1000fg456"); },
     "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device."},
    {9103, "OtherCase", [](RbtFile& file) { file.device("2V3000FG676"); },
     "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device."},
    {9103, "ShorterDevice", [](RbtFile& file) { file.device("2v3000fg67"); },
     "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device."},
    {9103, "PartLineWithoutABlank", [](RbtFile& file) { file.header[RbtFile::PART] = "Part:2v3000fg676\n"; },
     "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device."},
    {9104, "NothingBehindThePartLine", [](RbtFile& file) { file.cut_after(5); },
     "Error 9104. Failed to read header section of RBT file design.rbt."},
    {9120, "NothingBehindTheDateLine", [](RbtFile& file) { file.cut_after(6); },
     "Error 9120. Failed to read header section of RBT file design.rbt."},
    // The text says 9121, the number is 9120.
    {9120, "NoBitCountText9121", [](RbtFile& file) { file.header.back() = "Bits 256\n"; },
     "Error 9121. Failed to find bit size of RBT design.rbt."},
    {9120, "TwoDateLinesText9121",
     [](RbtFile& file) { file.header.insert(file.header.begin() + RbtFile::DATE, "Date:\n"); },
     "Error 9121. Failed to find bit size of RBT design.rbt."},
};

class RbtLoaderHeader : public LoadFixture, public testing::WithParamInterface<HeaderFault>
{
};

void PrintTo(const HeaderFault& fault, std::ostream* out)
{
    *out << fault.text;
}
} // namespace

TEST_P(RbtLoaderHeader, IsCheckedBeforeAnythingIsSent)
{
    RbtFile file;
    GetParam().spoil(file);
    session.prompt_user = 1;
    EXPECT_EQ(load_rbt(file), Fails(GetParam().number, GetParam().text));
    EXPECT_EQ(events, Lines{"| Checking header section of the file <design.rbt>.\\n"});
}

INSTANTIATE_TEST_SUITE_P(Faults, RbtLoaderHeader, testing::ValuesIn(header_faults), [](const auto& row) {
    return "Error" + std::to_string(row.param.number) + row.param.name;
});

TEST_F(RbtLoader, AReadErrorInTheHeaderIsError9100Or9102Or9104Or9120OfItsLine)
{
    const RbtFile file;
    const int numbers[] = {9100, 9102, 9102, 9102, 9102, 9104, 9120};
    std::size_t place = 0;
    for (std::size_t line = 0; line < 7; place += file.header[line].size(), ++line) {
        EXPECT_EQ(load_rbt(stream_failing_at(file.text(), place + 1)).number, numbers[line]) << line;
    }
}

TEST_F(RbtLoader, AReadErrorInTheDataEndsInError9113)
{
    const std::string text = two_lines().text();
    EXPECT_EQ(load_rbt(stream_failing_at(text, text.size() - 1)),
              Fails("Error 9113. Configuration successfull, but found incorrect number of bits (64, 32) "
                    "in RBT file design.rbt."));
    EXPECT_EQ(module.received(), bytes("01 02 03 04"));
}

TEST_F(RbtLoader, TheDeviceMayGoOnBehindTheModulesName)
{
    for (const char* name : {"2v3000-fg676", "2v3000fg676", "2v", "-4", ""}) {
        device(name);
        EXPECT_EQ(load_rbt(RbtFile{}), Succeeds()) << name;
    }
    device("");
    RbtFile file;
    file.header[RbtFile::PART] = "Part\n";
    EXPECT_EQ(load_rbt(file), Succeeds()) << "a module without a name takes every file";
}

TEST_F(RbtLoader, TheDeviceIsTheOneItIsGiven)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(load_rbt(RbtFile{}), Succeeds());
}

TEST_F(RbtLoader, AWrongLineFailsWhereItStandsWithError9107OrError9112)
{
    const struct {
        const char* name;
        std::string line;
        int length;
    } rows[] = {{"31 characters", std::string(31, '0') + '\n', 32},
                {"33 characters", std::string(33, '0') + '\n', 34},
                {"40 characters", std::string(40, '0') + '\n', 39},
                {"empty", "\n", 1}};
    for (const auto& row : rows) {
        RbtFile file = two_lines();
        file.data.insert(file.data.begin() + 1, row.line);
        compress(false);
        EXPECT_EQ(load_rbt(file), Fails("Error 9112. Incorrect line length (" + std::to_string(row.length) +
                                        "), bit_count = 32, in RBT file design.rbt."))
            << row.name;
        EXPECT_EQ(events.back(), "* SendMessageDataEx 03 05 timeout 5000") << "4 bytes wait in the buffer";
        EXPECT_EQ(session.send_count, 4U);
        compress();
        EXPECT_EQ(load_rbt(file), Fails("Error 9107. Incorrect line length (" + std::to_string(row.length) +
                                        "), bit_count = 32, in RBT file design.rbt."))
            << row.name;
    }
}

TEST_F(RbtLoader, AnEmptyLineAtTheEndFailsBehindAllDataWithError9107OrError9112)
{
    RbtFile file = two_lines();
    file.tail = "\n";
    EXPECT_EQ(load_rbt(file),
              Fails("Error 9112. Incorrect line length (1), bit_count = 64, in RBT file design.rbt."));
    EXPECT_EQ(pieces(), (Lines{"03 05", "01 02 03 04 05 06 07 08"}));
    compress();
    EXPECT_EQ(load_rbt(file),
              Fails("Error 9107. Incorrect line length (1), bit_count = 64, in RBT file design.rbt."));
    EXPECT_EQ(pieces(), (Lines{"0D 05", "01 01 01 02 01 03 01 04"})) << "the last run was held back";
}

TEST_F(RbtLoader, TheBitCountMayStandOnTheSixthOrTheSeventhLine)
{
    session.verbose = 1;
    RbtFile file = two_lines();
    file.header[RbtFile::BITS] = "number of BITS:\t64 or so\n";
    EXPECT_EQ(load_rbt(file), Succeeds());
    EXPECT_EQ(printed_texts.at(2), "The bitstream contains 64 configuration bits.\\n");
    EXPECT_EQ(load_rbt(two_lines().without_date()), Succeeds());
    EXPECT_EQ(printed_texts.at(2), "The bitstream contains 64 configuration bits.\\n");
}

TEST_F(RbtLoader, EveryCharacterButAOneIsAZero)
{
    RbtFile file = two_lines();
    file.data[0] = "1xyz 2 1O!!!!!!!........0000000\r\n";
    EXPECT_EQ(load_rbt(file), Succeeds());
    EXPECT_EQ(module.received(), bytes("81 00 00 00 05 06 07 08"));
}

TEST_F(RbtLoader, OlderFamiliesAreNotSentTheLastFourLinesInPlainMode)
{
    session.virtex2_family = 0;
    EXPECT_EQ(load_rbt(RbtFile{sample_data(40)}), Succeeds());
    Bytes sent = sample_data(40);
    sent.resize(24);
    EXPECT_EQ(module.received(), sent);
    EXPECT_EQ(printed_texts.at(1), "\\r% Done: 100\\n") << "they are counted";

    EXPECT_EQ(load_rbt(RbtFile{sample_data(16)}), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});

    EXPECT_EQ(load_rbt(RbtFile{sample_data(4)}), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});

    compress();
    EXPECT_EQ(load_rbt(RbtFile{sample_data(40)}), Succeeds());
    EXPECT_EQ(module.received(), run_coded(sample_data(40))) << "in compressed mode all of it goes out";
}

TEST_F(RbtLoader, TheTailOfOlderFamiliesBeginsAtTheStatedBitsUpToError9113)
{
    session.virtex2_family = 0;
    for (const long stated : {161L, 160L, 129L, 128L, 0L, -5L}) {
        load_rbt(RbtFile{sample_data(40)}.stated_bits(stated));
        Bytes sent = sample_data(40);
        sent.resize(stated == 161 ? 8 : stated > 128 ? 4 : 0);
        EXPECT_EQ(module.received(), sent) << stated;
    }
}

namespace
{
struct Outcome {
    bool matches;
    std::uint8_t status;
    const char* text;
};

const Outcome outcomes[] = {
    {true, 4, "Error 9118. Configuration was unsuccessful (4)."},
    {true, 0, "Error 9118. Configuration was unsuccessful (0)."},
    {true, 255, "Error 9118. Configuration was unsuccessful (255)."},
    {false, 5,
     "Error 9113. Configuration successfull, but found incorrect number of bits (32, 64) in RBT file design.rbt."},
    {false, 4,
     "Error 9119. Configuration unsuccessfull. Incorrect number of bits (32, 64) in RBT file design.rbt."},
};
} // namespace

TEST_F(RbtLoader, CountAndVerdictDecideOnError9113Or9118Or9119)
{
    for (const bool compressed : {false, true})
        for (const Outcome& outcome : outcomes) {
            compress(compressed);
            module.verdict[0] = outcome.status;
            session.prompt_user = 0;
            EXPECT_EQ(load_rbt(two_lines().stated_bits(outcome.matches ? 64 : 32)), Fails(outcome.text));
            EXPECT_EQ(printed_texts.back(),
                      outcome.matches ? "The bitstream has been downloaded.\\n"
                                      : "Incorrect number of bits in RBT file (64 found, 32 stated).\\n");
            EXPECT_EQ(events.back(), "* EndOfReceiveMessageEx timeout 5000");
        }
}

// The line gives the found bits first, the message the stated ones.
TEST_F(RbtLoader, Error9113IsRecordedAndTheLoadGoesOnAsFarAsError9114)
{
    session.virtex2_family = 0;
    platform.fail("EndOfSendMessageEx");
    EXPECT_EQ(load_rbt(RbtFile{sample_data(24)}.stated_bits(160)),
              Fails("Error 9114. Cannot end KSB message, slot 0x2 (via 'mwc4a 0') (api 0x77)."));
    EXPECT_EQ(at_end_of_data,
              Fails("Error 9113. Incorrect number of bits (160, 192) in RBT file design.rbt."));
    platform.fail_nothing();
    EXPECT_EQ(load_rbt(RbtFile{sample_data(24)}.stated_bits(160)).number, 9113);
    EXPECT_EQ(
        events,
        (Lines{"| Checking header section of the file <design.rbt>.\\n",
               "* StartSendMessageEx board 0 slot 2 timeout 5000", "* SendMessageDataEx 03 05 timeout 5000",
               "* SendMessageDataEx " + hex(sample_data(4)) + " timeout 5000", "| \\r% Done: 120\\n",
               "| Incorrect number of bits in RBT file (192 found, 160 stated).\\n",
               "* EndOfSendMessageEx timeout 5000", "* StartReceiveMessageEx timeout 5000",
               "* ReceiveMessageDataEx size 2 timeout 5000", "* EndOfReceiveMessageEx timeout 5000"}));
}

TEST_F(RbtLoader, ShowsProgressEvery20000BitsBehindTheDataSent)
{
    for (const bool compressed : {false, true}) {
        compress(compressed);
        platform.logs_data = true;
        EXPECT_EQ(load_rbt(RbtFile{Bytes(7500, 0)}), Succeeds());
        Lines shown;
        std::size_t bytes_before = 0;
        for (const std::string& line : events) {
            if (line.starts_with("* SendMessageDataEx") && shown.empty())
                ++bytes_before;
            if (line.starts_with("| \\r"))
                shown.push_back(line.substr(2));
        }
        EXPECT_EQ(shown, (Lines{"\\r% Done: 33", "\\r% Done: 66", "\\r% Done: 100", "\\r% Done: 100\\n"}));
        // 2500 bytes are 312 pieces and a half; 9 finished runs are 2 pieces and a quarter.
        EXPECT_EQ(bytes_before, compressed ? 1U + 2 : 1U + 312);
    }
}

TEST_F(RbtLoader, ThePercentageWrapsIn32Bits)
{
    // 21480000 bits are 2147483648 hundredths and more.
    platform.logs_data = false;
    compress();
    constexpr long bits = 21480000;
    RbtFile file{Bytes{}};
    file.stated_bits(bits);
    for (long line = 0; line < bits / 32; ++line)
        file.tail += "00000000000000000000000000000000\n";
    EXPECT_EQ(load_rbt(file), Succeeds());
    EXPECT_EQ(printed_texts.at(2 + 1073 - 1), "\\r% Done: 99") << "21460000 bits";
    EXPECT_EQ(printed_texts.at(2 + 1074 - 1), "\\r% Done: -99") << "21480000 bits";
    EXPECT_EQ(printed_texts.at(2 + 1074), "\\r% Done: -99\\n");
}

TEST_F(RbtLoader, Error9113OfNoStatedBitsComesWithoutProgress)
{
    RbtFile file{Bytes(2500, 0)};
    file.header.back() = "Bits: many\n";
    for (const bool compressed : {false, true}) {
        compress(compressed);
        EXPECT_EQ(load_rbt(file),
                  Fails("Error 9113. Configuration successfull, but found incorrect number of bits "
                        "(0, 20000) in RBT file design.rbt."));
        for (const std::string& line : printed_texts)
            EXPECT_FALSE(line.starts_with("\\r")) << line;
    }
}

TEST_F(RbtLoader, WithoutDataLinesACompressedLoadIsOneEmptyRun)
{
    compress();
    EXPECT_EQ(load_rbt(RbtFile{Bytes{}}), Succeeds());
    EXPECT_EQ(module.received(), bytes("00 00"));
    compress(false);
    EXPECT_EQ(load_rbt(RbtFile{Bytes{}}), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});
}

TEST_F(RbtLoader, Error9113ForLinesBehindTheStatedBitsThatAreSentLikeAllOthers)
{
    EXPECT_EQ(load_rbt(RbtFile{sample_data(40)}.stated_bits(64)).number, 9113);
    EXPECT_EQ(module.received(), sample_data(40));
}
