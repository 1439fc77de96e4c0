// SPDX-License-Identifier: Apache-2.0
// What all loads share: the announcement, the load header, the data in each mode, the verdict.
#include "load_fixture.h"

#include <ostream>

namespace
{
using Loader = int (kvn_fpga_imp::*)(const char*, int, int, FILE*, const char*);

/// What differs between the loaders.
struct Format {
    const char* name;
    const char* file;
    Loader loader;
    int start; ///< the number of a message that cannot be begun
    Lines verbose;
    const char* done;
    int plain_tail; ///< bytes that older families are not sent
    int compressed_tail;
};

const Lines in_bits{"| The bitstream is for a 2v3000fg676 device.\\n",
                    "| The bitstream contains 96 configuration bits.\\n"};
const Lines in_bytes{"| The bitstream is for a 2v3000fg676-4 device.\\n",
                     "| The compressed file contains 12 configuration bytes.\\n"};

const Format formats[] = {
    {"Rbt", "design.rbt", &kvn_fpga_imp::Load_Bitstream_rbt, 9105, in_bits, "| \\r% Done: 100\\n", 16, 0},
    {"Bit", "design.bit", &kvn_fpga_imp::Load_Bitstream_bit, 9350, in_bits, "| \\r% Done: 100\\n", 16, 0},
    {"Mcb", "design.mcb", &kvn_fpga_imp::Load_Bitstream_mcb, 9156, in_bytes, "| \\r% Done: 100 \\n", 4, 4},
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

    FILE* open() const { return std::fopen(GetParam().file, "rb"); }
    Result load_file() { return load(GetParam().loader, GetParam().file, open()); }
    /// Loads for a board and a slot of the arguments alone.
    Result load_given(const char* type, int number, int address)
    {
        return result((session.*GetParam().loader)(type, number, address, open(), device_name.c_str()));
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

TEST_P(LoadExchangeTest, SendsAFileInEachMode)
{
    write_files(bytes("AA AA AA AA AA 01 02 02 03 03 03 03"));
    for (const bool compressed : {false, true}) {
        compress(compressed);
        session.verbose = compressed ? 1 : 0;
        EXPECT_EQ(load_file(), Succeeds());
        Lines expected{header_check()};
        const auto add = [&expected](const Lines& lines) {
            expected.insert(expected.end(), lines.begin(), lines.end());
        };
        if (compressed)
            add(GetParam().verbose);
        add({"* StartSendMessageEx board 0 slot 2 timeout 5000"});
        if (compressed)
            add({"| Sending in compressed format.\\n", "* SendMessageDataEx 0D 05 timeout 5000",
                 "* SendMessageDataEx 05 AA 01 01 02 02 04 03 timeout 5000"});
        else
            add({"* SendMessageDataEx 03 05 timeout 5000",
                 "* SendMessageDataEx AA AA AA AA AA 01 02 02 timeout 5000",
                 "* SendMessageDataEx 03 03 03 03 timeout 5000"});
        add({GetParam().done, "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
             "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
             "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"});
        EXPECT_EQ(events, expected);
    }
}

TEST_P(LoadExchangeTest, OlderFamiliesAreNotSentTheirTail)
{
    session.virtex2_family = 0;
    const Bytes data = sample_data(40);
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(module.received(), Bytes(data.begin(), data.end() - GetParam().plain_tail));
    compress();
    EXPECT_EQ(load_file(), Succeeds());
    EXPECT_EQ(module.received(), run_coded({data.begin(), data.end() - GetParam().compressed_tail}));
}

TEST_P(LoadExchangeTest, TheDeviceMayGoOnBehindTheModulesName)
{
    for (const char* name : {"2v3000-fg676", "2v3000fg676", "2v", "-4", ""}) {
        device(name);
        EXPECT_EQ(load_file(), Succeeds()) << name;
    }
}

TEST_P(LoadExchangeTest, AnnouncesTheModuleWhenItsTypeIsKnown)
{
    for (const auto& [type, name] : {std::pair{0, ""}, {2, "KAVRIN-FPGA"}, {3, ""}, {4, "KAVRIN-IO"}}) {
        session.current_module_type = static_cast<std::uint8_t>(type);
        EXPECT_EQ(load_file(), Succeeds());
        Lines expected{header_check()};
        if (*name != '\0')
            expected = {std::string{"| \\nLoading configuration bitstream for the "} + name + " module ",
                        "| in slot 0x2 (via 'mwc4a 0').\\n", header_check()};
        EXPECT_EQ(Lines(events.begin(), events.begin() + std::ssize(expected)), expected);
    }
}

TEST_P(LoadExchangeTest, Error9105Or9156Or9350NamesTheSessionsBoardTypeAndTheGivenNumberAndAddress)
{
    open_bus("mwc4a", 0);
    session.current_module_type = 2;
    platform.fail("StartSendMessageEx");
    EXPECT_EQ(load_given("given", 7, 0x31),
              Fails("Error " + std::to_string(GetParam().start) +
                    ". Cannot start KSB message, slot 0x31 (via 'mwc4a 7') (api 0x77)."));
    EXPECT_EQ(prints().at(1), "in slot 0x31 (via 'given 7').\\n") << "the announcement names what was given";
    EXPECT_EQ(bus().front(), "StartSendMessageEx board 3 slot 1 timeout 5000");
    close_bus();
}

TEST_P(LoadExchangeTest, TheBoardOfTheHeaderKeepsItsLowBits)
{
    open_bus("mwc4a", 0);
    session.board_number = 37; // 37 * 8 + 5 is 0x12D
    EXPECT_EQ(load_given("mwc4a", 37, 2), Succeeds());
    EXPECT_EQ(module.received_header(), bytes("03 2D"));
    close_bus();
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

TEST_P(LoadExchangeTest, WhatAnEarlierLoadLeftInTheBufferGoesOutFirst)
{
    left_over = bytes("11 22 33");
    EXPECT_EQ(load_file(), Succeeds());
    Bytes expected = left_over;
    for (const std::uint8_t byte : sample_data(40))
        expected.push_back(byte);
    EXPECT_EQ(module.received(), expected);
}

TEST_P(LoadExchangeTest, TheFileIsClosedBeforeTheMessageIsEnded)
{
    load_file();
    EXPECT_EQ(descriptors_at_end_of_data, count_descriptors());
}

INSTANTIATE_TEST_SUITE_P(Formats, LoadExchangeTest, testing::ValuesIn(formats),
                         [](const auto& row) { return row.param.name; });

using AllLoaders = LoadFixture;

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
} // namespace
