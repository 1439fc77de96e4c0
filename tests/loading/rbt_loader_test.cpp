// SPDX-License-Identifier: Apache-2.0
// The RBT loader: the errors of its files and of the verdict.
#include "load_fixture.h"

namespace
{
using RbtLoader = LoadFixture;

/// Eight bytes that all differ.
RbtFile two_lines()
{
    return RbtFile{bytes("01 02 03 04 05 06 07 08")};
}

TEST_F(RbtLoader, Error9140DropsTheRestOfItsWord)
{
    left_over = {0x55, 0x55};
    platform.fail("SendMessageDataEx", 2);
    EXPECT_EQ(load_rbt(two_lines()).number, 9140);
    EXPECT_EQ(pieces().back(), "55 55 01 02 03 04 05 06");
    EXPECT_EQ(session.send_count, 0U);
}

/// A file that is spoilt in its header.
struct HeaderFault : FileFault<RbtFile> {
    int number;
};

HeaderFault unreadable(int number, const char* name, void (*damage)(RbtFile& file))
{
    return {{name, damage,
             "Error " + std::to_string(number) + ". Failed to read header section of RBT file design.rbt."},
            number};
}

const char* const NO_TITLE = "Error 9101. Invalid first line in RBT file design.rbt.";
const char* const NOT_FOR_IT = "Error 9103. Bitstream design.rbt is not for a 2v3000fg676-4 device.";
// The text says 9121, the number is 9120.
const char* const NO_BITS = "Error 9121. Failed to find bit size of RBT design.rbt.";

const HeaderFault header_faults[] = {
    unreadable(9100, "EmptyFile", [](auto& file) { file.cut_after(0); }),
    {{"CarriageReturn", [](auto& file) { file.header[0].insert(22, "\r"); }, NO_TITLE}, 9101},
    {{"TrailingBlank", [](auto& file) { file.header[0].insert(22, " "); }, NO_TITLE}, 9101},
    {{"NoLineFeed", [](auto& file) { file.cut_after(1).header[0].pop_back(); }, NO_TITLE}, 9101},
    unreadable(9102, "TitleOnly", [](auto& file) { file.cut_after(1); }),
    unreadable(9102, "NoPartLine", [](auto& file) { file.cut_after(4); }),
    {{"OtherDevice", [](auto& file) { file.device("2v1000fg456"); }, NOT_FOR_IT}, 9103},
    {{"OtherCase", [](auto& file) { file.device("2V3000FG676"); }, NOT_FOR_IT}, 9103},
    {{"ShorterDevice", [](auto& file) { file.device("2v3000fg67"); }, NOT_FOR_IT}, 9103},
    {{"PartLineWithoutABlank", [](auto& file) { file.header[RbtFile::PART] = "Part:2v3000fg676\n"; },
      NOT_FOR_IT},
     9103},
    unreadable(9104, "NothingBehindThePartLine", [](auto& file) { file.cut_after(5); }),
    unreadable(9120, "NothingBehindTheDateLine", [](auto& file) { file.cut_after(6); }),
    {{"NoBitCountText9121", [](auto& file) { file.header.back() = "Bits 256\n"; }, NO_BITS}, 9120},
    {{"TwoDateLinesText9121", [](auto& file) { file.header[RbtFile::DATE] += "Date:\n"; }, NO_BITS}, 9120},
};

using RbtLoaderHeader = With<LoadFixture, HeaderFault>;

TEST_P(RbtLoaderHeader, IsCheckedBeforeAnythingIsSent)
{
    RbtFile file;
    GetParam().damage(file);
    session.prompt_user = 1;
    EXPECT_EQ(load_rbt(file), Fails(GetParam().number, GetParam().text));
    EXPECT_EQ(events, Lines{"| Checking header section of the file <design.rbt>.\\n"});
}

INSTANTIATE_TEST_SUITE_P(Faults, RbtLoaderHeader, testing::ValuesIn(header_faults), [](const auto& row) {
    return "Error" + std::to_string(row.param.number) + row.param.name;
});

TEST_F(RbtLoader, AReadErrorIsError9100Or9102Or9104Or9120OfItsLineAndError9113InTheData)
{
    const std::string text = two_lines().text();
    const int numbers[] = {9100, 9102, 9102, 9102, 9102, 9104, 9120, 9113, 9113};
    std::size_t place = 0;
    for (const int number : numbers) {
        EXPECT_EQ(load_rbt(stream_failing_at(text, place + 1)).number, number) << place;
        place = text.find('\n', place) + 1;
    }
    EXPECT_EQ(module.received(), bytes("01 02 03 04"));
}

TEST_F(RbtLoader, TheDeviceIsTheOneItIsGiven)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(load_rbt(RbtFile{}), Succeeds());
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

TEST_F(RbtLoader, AnOlderFamilyIsSentAWordThatBeginsBeforeTheTailAndTheCountIsError9113)
{
    session.virtex2_family = 0;
    const Bytes data = sample_data(24);
    const std::pair<int, std::ptrdiff_t> rows[] = {{128, 0}, {129, 4}, {160, 4}, {161, 8}, {192, 8}};
    for (const auto& [stated, sent] : rows) {
        load_rbt(RbtFile{data}.stated_bits(stated));
        EXPECT_EQ(module.received(), Bytes(data.begin(), data.begin() + sent)) << stated;
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
}
} // namespace
