// SPDX-License-Identifier: Apache-2.0
// The BIT loader: the errors of its files and of the verdict, the probes behind the data.
#include "load_fixture.h"

namespace
{
class BitLoader : public LoadFixture
{
protected:
    static Result wrong_count(long stated, long found)
    {
        return Fails("Error 9365. Configuration successfull, but found incorrect number of bits (" +
                     std::to_string(stated) + ", " + std::to_string(found) + ") in BIT file design.bit.");
    }
};
} // namespace

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

// A plain load notices a single byte behind the data; a compressed one only a whole 1024 of them.
TEST_F(BitLoader, AWholeBlockBehindTheDataIsError9360And9365InCompressedModeToo)
{
    BitFile file{64};
    for (const std::size_t more : {1U, 1023U, 1024U, 5000U}) {
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

TEST_F(BitLoader, Error9352AndError9358NameTheBitsReadOfAFileThatIsCutShort)
{
    const BitFile file{64};
    for (std::size_t kept = 0; kept < 64; kept += 9) {
        write_file("design.bit", file.content().substr(0, file.header().size() + kept));
        const std::string text = ". Failed to read BIT file design.bit (after " +
                                 std::to_string(kept / 4 * 32) + " bits read, expected 512).";
        compress(false);
        EXPECT_EQ(load_bit(stream_failing_at(file.content(), file.header().size() + kept)).number, 9358);
        EXPECT_EQ(load_bit(), Fails(9358, "Error 9358" + text)) << kept;
        EXPECT_EQ(pieces().size(), 1 + kept / 8) << "a partial message went out";
        EXPECT_TRUE(events.back().starts_with("* SendMessageDataEx")) << "and was not ended";
        compress();
        EXPECT_EQ(load_bit(stream_failing_at(file.content(), file.header().size() + kept)).number, 9352);
        EXPECT_EQ(load_bit(), Fails(9352, "Error 9352" + text)) << kept;
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
