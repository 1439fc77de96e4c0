// SPDX-License-Identifier: Apache-2.0
// The BIT loader: console and bus of whole loads, every error, the probes behind the data.
#include "load_fixture.h"

namespace
{
class BitLoader : public LoadFixture
{
protected:
    /// What a load prints when it succeeds.
    static Lines success()
    {
        return {"Checking header section of the file <design.bit>.\\n", "\\r% Done: 100\\n",
                "The bitstream has been downloaded.\\n", "Configuration was successful.\\n"};
    }
    static Result wrong_count(long stated, long found)
    {
        return Fails("Error 9365. Configuration successfull, but found incorrect number of bits (" +
                     std::to_string(stated) + ", " + std::to_string(found) + ") in BIT file design.bit.");
    }
};
} // namespace

TEST_F(BitLoader, SendsAFileInPlainMode)
{
    EXPECT_EQ(load_bit(BitFile{bytes("01 02 03 04 05 06 07 08 09 0A 0B 80")}), Succeeds());
    EXPECT_EQ(
        events,
        (Lines{"| Checking header section of the file <design.bit>.\\n",
               "* StartSendMessageEx board 0 slot 2 timeout 5000", "* SendMessageDataEx 03 05 timeout 5000",
               "* SendMessageDataEx 01 02 03 04 05 06 07 08 timeout 5000",
               "* SendMessageDataEx 09 0A 0B 80 timeout 5000", "| \\r% Done: 100\\n",
               "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
               "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
               "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"}));
}

TEST_F(BitLoader, SendsAFileInCompressedMode)
{
    compress();
    session.verbose = 1;
    EXPECT_EQ(load_bit(BitFile{bytes("AA AA AA AA AA 01 02 02 03 03 03 03")}), Succeeds());
    EXPECT_EQ(events,
              (Lines{"| Checking header section of the file <design.bit>.\\n",
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
const std::string plain_failure = "Error 9390. Cannot send KSB message data, board \"mwc4a 0\" (api 0x77).";

/// The calls of a load with these calls for its data.
std::vector<std::string> whole(const std::vector<std::string>& data)
{
    return whole_load({9350, 9351, 9361, 9362, 9363, 9364}, data);
}

class BitLoaderCall : public BitLoader, public testing::WithParamInterface<FailedCall>
{
};
} // namespace

TEST_P(BitLoaderCall, ThatFailsHasItsOwnError)
{
    const bool plain = GetParam().load == "Plain";
    compress(!plain);
    if (plain)
        BitFile{20}.write();
    else
        BitFile{bytes("01 02 03 04 05 06 07 08")}.write();
    // A byte left over from an earlier load turns count and value of the pieces round.
    if (GetParam().load == "PiecesThatEndWithACount")
        left_over = {0x55};
    expect_failed_call(GetParam(), [this] { return load_bit(); });
}

INSTANTIATE_TEST_SUITE_P(Loads, BitLoaderCall,
                         testing::ValuesIn(failed_calls({
                             {"Plain", whole({plain_failure, plain_failure, cannot_send(9368)})},
                             {"PiecesThatEndWithAValue", whole({cannot_send(9355), cannot_send(9357)})},
                             {"PiecesThatEndWithACount",
                              whole({cannot_send(9354), cannot_send(9356), cannot_send(9368)})},
                         })),
                         RowName{});

TEST_F(BitLoader, Error9343OfTheHeaderEndsTheLoad)
{
    BitFile file;
    file.d_key = 'x';
    EXPECT_EQ(load_bit(file),
              Fails("Error 9343. Expected to find 'd' in header of BIT file design.bit, but found x."));
    EXPECT_EQ(events, Lines{"| Checking header section of the file <design.bit>.\\n"});
}

TEST_F(BitLoader, Error9336WhenTheDeviceIsNotTheSessionsWhateverIsGiven)
{
    device_name = "s40xlpq208-4";
    EXPECT_EQ(load_bit(BitFile{}), Succeeds());
    std::strcpy(session.device_name, "2v1000fg456-5");
    device_name = "2v3000fg676-4";
    EXPECT_EQ(load_bit(BitFile{}),
              Fails("Error 9336. Bitstream design.bit is not for a 2v1000fg456-5 device."));
}

TEST_F(BitLoader, AGoodHeaderForgetsAnEarlierError)
{
    BitFile{}.write();
    open_bus("mwc4a", 0);
    session.last_error = 9999;
    EXPECT_EQ(session.Load_Bitstream_bit("mwc4a", 0, 2, std::fopen("design.bit", "rb"), ""), 0);
    EXPECT_EQ(session.last_error, 0);
    close_bus();
}

TEST_F(BitLoader, AFileOfTheStatedLengthSucceeds)
{
    for (const bool compressed : {false, true}) {
        compress(compressed);
        EXPECT_EQ(load_bit(BitFile{64}), Succeeds());
        Lines expected = success();
        if (compressed)
            expected.insert(expected.begin() + 1, "Sending in compressed format.\\n");
        EXPECT_EQ(printed_texts, expected);
    }
}

// A plain load notices a single byte behind the data; a compressed one only a whole 1024 of them.
TEST_F(BitLoader, OneByteBehindTheDataIsError9360And9365InPlainModeOnly)
{
    BitFile file{64};
    file.tail = "x";
    EXPECT_EQ(load_bit(file), wrong_count(512, 513));
    EXPECT_EQ(printed_texts.back(), "Incorrect number of bits in BIT file (513 found, 512 stated).\\n");
    EXPECT_EQ(module.received(), sample_data(64)) << "the byte is not sent";
    compress();
    EXPECT_EQ(load_bit(file), Succeeds());
}

TEST_F(BitLoader, AWholeBlockBehindTheDataIsError9360And9365InCompressedModeToo)
{
    BitFile file{64};
    for (const std::size_t more : {1023U, 1024U, 5000U}) {
        file.tail = std::string(more, 'x');
        compress(false);
        EXPECT_EQ(load_bit(file), wrong_count(512, 513));
        compress();
        if (more < 1024) {
            EXPECT_EQ(load_bit(file), Succeeds());
            continue;
        }
        EXPECT_EQ(load_bit(file), wrong_count(512, 1536));
        EXPECT_EQ(printed_texts.at(2), "\\r% Done: 300\\n") << "counted before the final line";
        EXPECT_EQ(module.received(), run_coded(sample_data(64)));
    }
}

TEST_F(BitLoader, AReadErrorBehindTheDataIsNotNoticedAndAByteIsError9360And9365)
{
    BitFile file{64};
    const std::size_t end = file.content().size();
    file.tail = std::string(2000, 'x');
    EXPECT_EQ(load_bit(stream_failing_at(file.content(), end)), Succeeds());
    EXPECT_EQ(load_bit(stream_failing_at(file.content(), end + 1)).number, 9365) << "one byte came";
    compress();
    EXPECT_EQ(load_bit(stream_failing_at(file.content(), end + 1023)), Succeeds());
    EXPECT_EQ(load_bit(stream_failing_at(file.content(), end + 1024)).number, 9365);
}

TEST_F(BitLoader, ALengthThatIsNoMultipleOfFourMeetsTheEndAsError9352Or9358)
{
    for (const std::size_t size : {61U, 62U, 63U}) {
        const std::string text = ". Failed to read BIT file design.bit (after 480 bits read, expected " +
                                 std::to_string(size * 8) + ").";
        compress(false);
        EXPECT_EQ(load_bit(BitFile{size}), Fails(9358, "Error 9358" + text));
        compress();
        EXPECT_EQ(load_bit(BitFile{size}), Fails(9352, "Error 9352" + text));
    }
}

TEST_F(BitLoader, Error9352AndError9358NameTheBitsReadOfAFileThatIsCutShort)
{
    const BitFile file{64};
    const std::size_t data = file.header().size();
    for (std::size_t kept = 0; kept < 64; ++kept) {
        const std::string content = file.content().substr(0, data + kept);
        const std::string text = ". Failed to read BIT file design.bit (after " +
                                 std::to_string(kept / 4 * 32) + " bits read, expected 512).";
        for (const bool fails : {false, true}) {
            const auto stream = [&] { return stream_failing_at(file.content(), data + kept); };
            write_file("design.bit", content);
            compress(false);
            EXPECT_EQ(fails ? load_bit(stream()) : load_bit(), Fails(9358, "Error 9358" + text)) << kept;
            EXPECT_EQ(pieces().size(), 1 + kept / 8) << "a partial message went out";
            EXPECT_TRUE(events.back().starts_with("* SendMessageDataEx")) << "and was not ended";
            compress();
            EXPECT_EQ(fails ? load_bit(stream()) : load_bit(), Fails(9352, "Error 9352" + text)) << kept;
        }
    }
}

TEST_F(BitLoader, AShortWordWithoutAReasonIsError9353OrError9359)
{
    const BitFile file{64};
    const HiddenEnd hidden_end;
    const std::size_t data = file.header().size();
    for (int rest = 0; rest < 4; ++rest) {
        write_file("design.bit", file.content().substr(0, data + 16 + static_cast<std::size_t>(rest)));
        const std::string text = ". Incorrect word length (" + std::to_string(rest) +
                                 "), bit_count = 128, in BIT file design.bit.";
        compress(false);
        EXPECT_EQ(load_bit(), Fails(9359, "Error 9359" + text));
        compress();
        EXPECT_EQ(load_bit(), Fails(9353, "Error 9353" + text));
    }
}

TEST_F(BitLoader, OlderFamiliesAreNotSentTheLastFourWordsInPlainMode)
{
    session.virtex2_family = 0;
    EXPECT_EQ(load_bit(BitFile{40}), Succeeds());
    Bytes sent = sample_data(40);
    sent.resize(24);
    EXPECT_EQ(module.received(), sent);
    EXPECT_EQ(load_bit(BitFile{16}), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});
    compress();
    EXPECT_EQ(load_bit(BitFile{40}), Succeeds());
    EXPECT_EQ(module.received(), run_coded(sample_data(40)));
}

TEST_F(BitLoader, CountAndVerdictDecideOnError9360And9365Or9366Or9367)
{
    const struct {
        bool matches;
        std::uint8_t status;
        const char* text;
    } outcomes[] = {
        {true, 4, "Error 9366. Configuration was unsuccessful (4)."},
        {true, 255, "Error 9366. Configuration was unsuccessful (255)."},
        {false, 5,
         "Error 9365. Configuration successfull, but found incorrect number of bits (64, 1088) in BIT file design.bit."},
        {false, 4,
         "Error 9367. Configuration unsuccessfull. Incorrect number of bits (64, 1088) in BIT file design.bit."},
    };
    compress();
    for (const auto& outcome : outcomes) {
        module.verdict[0] = outcome.status;
        BitFile file{8};
        if (!outcome.matches)
            file.tail = std::string(1024, 'x');
        EXPECT_EQ(load_bit(file), Fails(outcome.text));
        EXPECT_EQ(printed_texts.back(),
                  outcome.matches ? "The bitstream has been downloaded.\\n"
                                  : "Incorrect number of bits in BIT file (1088 found, 64 stated).\\n");
    }
}

TEST_F(BitLoader, Error9360IsRecordedAndTheLoadGoesOnAsFarAsError9362)
{
    BitFile file{8};
    file.tail = "x";
    platform.fail("StartReceiveMessageEx");
    EXPECT_EQ(load_bit(file),
              Fails("Error 9362. Cannot start receive KSB message (via 'mwc4a 0') (api 0x77)."));
    EXPECT_EQ(at_end_of_data, Fails("Error 9360. Incorrect number of bits (64, 65) in BIT file design.bit."));
}

TEST_F(BitLoader, ShowsProgressEvery20000Bits)
{
    platform.logs_data = false;
    for (const bool compressed : {false, true}) {
        compress(compressed);
        EXPECT_EQ(load_bit(BitFile{7500}), Succeeds());
        EXPECT_EQ(progress(),
                  (Lines{"\\r% Done: 33", "\\r% Done: 66", "\\r% Done: 100", "\\r% Done: 100\\n"}));
    }
}

TEST_F(BitLoader, OfNoStatedBitsOneWordIsReadToError9358Or9360And9365WithoutProgress)
{
    BitFile file{8};
    file.byte_count = 0;
    EXPECT_EQ(load_bit(file), wrong_count(0, 33));
    EXPECT_EQ(printed_texts, (Lines{"Checking header section of the file <design.bit>.\\n",
                                    "Incorrect number of bits in BIT file (33 found, 0 stated).\\n"}));
    EXPECT_EQ(load_bit(BitFile{0}),
              Fails("Error 9358. Failed to read BIT file design.bit (after 0 bits read, expected 0)."));
}

TEST_F(BitLoader, ACountBeyond32BitsEndsInError9360And9365OfTheSizeCheck)
{
    session.verbose = 1;
    BitFile file{4};
    file.byte_count = 0x20000004; // 32 bits and 2^32
    EXPECT_EQ(load_bit(file), Succeeds());
    EXPECT_EQ(printed_texts.at(2), "The bitstream contains 32 configuration bits.\\n");
    file.byte_count = 0x10000000;
    EXPECT_EQ(load_bit(file), wrong_count(-2147483648, 32));
    EXPECT_EQ(printed_texts.at(3), "\\r% Done: 0\\n");
}
