// SPDX-License-Identifier: Apache-2.0
// The MCB loader: console and bus of whole loads, every error, the tail of older families.
#include "load_fixture.h"

#include <algorithm>
#include <ostream>

namespace
{
class McbLoader : public LoadFixture
{
protected:
    /// A file of these runs that states this number of bytes.
    static McbFile runs(const char* pairs, std::int32_t byte_count)
    {
        McbFile file{0};
        file.runs = bytes(pairs);
        file.byte_count = byte_count;
        return file;
    }
};
} // namespace

TEST_F(McbLoader, SendsAFileInPlainMode)
{
    EXPECT_EQ(load_mcb(runs("03 AA 02 BB 00 CC 04 DD", 9)), Succeeds());
    EXPECT_EQ(
        events,
        (Lines{"| Checking header section of the file <design.mcb>.\\n",
               "* StartSendMessageEx board 0 slot 2 timeout 5000", "* SendMessageDataEx 03 05 timeout 5000",
               "* SendMessageDataEx AA AA AA BB BB DD DD DD timeout 5000",
               "* SendMessageDataEx DD timeout 5000", "| \\r% Done: 100 \\n",
               "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
               "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
               "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"}));
}

// The device that is named is the module's, and a run of none is passed on as it is.
TEST_F(McbLoader, SendsAFileInCompressedMode)
{
    compress();
    session.verbose = 1;
    EXPECT_EQ(load_mcb(runs("03 AA 02 BB 00 CC 04 DD", 9)), Succeeds());
    EXPECT_EQ(events,
              (Lines{"| Checking header section of the file <design.mcb>.\\n",
                     "| The bitstream is for a 2v3000fg676-4 device.\\n",
                     "| The compressed file contains 9 configuration bytes.\\n",
                     "* StartSendMessageEx board 0 slot 2 timeout 5000", "| Sending in compressed format.\\n",
                     "* SendMessageDataEx 0D 05 timeout 5000",
                     "* SendMessageDataEx 03 AA 02 BB 00 CC 04 DD timeout 5000", "| \\r% Done: 100 \\n",
                     "| The bitstream has been downloaded.\\n", "* EndOfSendMessageEx timeout 5000",
                     "* StartReceiveMessageEx timeout 5000", "* ReceiveMessageDataEx size 2 timeout 5000",
                     "* EndOfReceiveMessageEx timeout 5000", "| Configuration was successful.\\n"}));
}

namespace
{
/// The calls of a load with these calls for its data.
std::vector<std::string> whole(const std::vector<std::string>& data)
{
    return whole_load({9156, 9157, 9168, 9169, 9170, 9171}, data, "end receive KSB message");
}

/// A load of this file, into a module of an older family or not, behind a byte that an earlier load left or
/// not.
struct McbLoad {
    const char* name;
    bool is_compressed;
    bool is_older_family;
    bool has_left_over;
    const char* pairs;
    std::int32_t byte_count;
    std::vector<std::string> texts;
};

const McbLoad loads[] = {
    {"Plain", false, false, false, "0A AA 0A BB", 20,
     whole({cannot_send(9164), cannot_send(9164), cannot_send(9173)})},
    {"PiecesThatEndWithAValue", true, false, false, "01 01 01 02 01 03 01 04 01 05", 5,
     whole({cannot_send(9163), cannot_send(9173)})},
    {"PiecesThatEndWithACount", true, false, true, "01 01 01 02 01 03 01 04 01 05", 5,
     whole({cannot_send(9162), cannot_send(9173)})},
    // The second run is the one that reaches into the tail.
    {"PlainTail", false, true, false, "04 AA 20 BB", 36,
     whole({cannot_send(9167), cannot_send(9167), cannot_send(9167), cannot_send(9167)})},
    {"TailThatEndsWithAValue", true, true, false, "01 01 01 02 01 03 06 04", 9, whole({cannot_send(9166)})},
    {"TailThatEndsWithACount", true, true, true, "01 01 01 02 01 03 06 04", 9,
     whole({cannot_send(9165), cannot_send(9173)})},
};

std::vector<FailedCall> calls_of_all_loads()
{
    std::vector<std::pair<std::string, std::vector<std::string>>> named;
    for (const McbLoad& load : loads)
        named.emplace_back(load.name, load.texts);
    return failed_calls(named);
}

class McbLoaderCall : public McbLoader, public testing::WithParamInterface<FailedCall>
{
};
} // namespace

TEST_P(McbLoaderCall, ThatFailsHasItsOwnError)
{
    const McbLoad& load = *std::ranges::find(loads, GetParam().load, &McbLoad::name);
    compress(load.is_compressed);
    session.virtex2_family = load.is_older_family ? 0 : 1;
    if (load.has_left_over)
        left_over = {0x55};
    runs(load.pairs, load.byte_count).write();
    expect_failed_call(GetParam(), [this] { return load_mcb(); });
}

INSTANTIATE_TEST_SUITE_P(Loads, McbLoaderCall, testing::ValuesIn(calls_of_all_loads()), RowName{});

namespace
{
const FileFault<McbFile> header_faults[] = {
    {"FirstMagicNumber", [](McbFile& file) { file.first_magic ^= 1; },
     "Error 9151. Invalid magic numbers in MCB file design.mcb."},
    {"SecondMagicNumber", [](McbFile& file) { file.second_magic ^= 0x80000000; },
     "Error 9151. Invalid magic numbers in MCB file design.mcb."},
    {"SwappedMagicNumbers", [](McbFile& file) { std::swap(file.first_magic, file.second_magic); },
     "Error 9151. Invalid magic numbers in MCB file design.mcb."},
    {"OtherDevice", [](McbFile& file) { file.device = "2v1000fg456"; },
     "Error 9153. Bitstream design.mcb is not for a 2v3000fg676-4 device."},
    {"OtherCase", [](McbFile& file) { file.device = "2V3000fg676"; },
     "Error 9153. Bitstream design.mcb is not for a 2v3000fg676-4 device."},
    {"NoDevice", [](McbFile& file) { file.device.clear(); },
     "Error 9153. Bitstream design.mcb is not for a 2v3000fg676-4 device."},
};

class McbLoaderHeader : public LoadFixture, public testing::WithParamInterface<FileFault<McbFile>>
{
};
} // namespace

TEST_P(McbLoaderHeader, IsCheckedBeforeAnythingIsSent)
{
    McbFile file;
    GetParam().damage(file);
    session.prompt_user = 1;
    EXPECT_EQ(load_mcb(file), Fails(GetParam().text));
    EXPECT_EQ(events, Lines{"| Checking header section of the file <design.mcb>.\\n"});
}

INSTANTIATE_TEST_SUITE_P(Faults, McbLoaderHeader, testing::ValuesIn(header_faults), ErrorName{});

TEST_F(McbLoader, EveryFieldThatTheFileCutsShortHasItsOwnError9150Or9152Or9154Or9155)
{
    const struct {
        std::size_t end;
        const char* text;
    } fields[] = {
        {8, "Error 9150. Failed to read header section of MCB file design.mcb."},
        {263, "Error 9152. Failed to read device type from MCB file design.mcb."},
        {518, "Error 9154. Failed to read timestamp from MCB file design.mcb."},
        {522, "Error 9155. Failed to read number of bytes from MCB file design.mcb."},
    };
    const std::string content = McbFile{}.content();
    std::size_t size = 0;
    for (const auto& field : fields)
        for (; size < field.end; ++size) {
            write_file("design.mcb", content.substr(0, size));
            EXPECT_EQ(load_mcb(), Fails(field.text)) << size;
            EXPECT_EQ(load_mcb(stream_failing_at(content, size)), Fails(field.text)) << size;
        }
}

TEST_F(McbLoader, Error9158Or9159Or9160Or9161TellsTheByteThatIsMissingInTheRuns)
{
    const Result count_end = Fails("Error 9159. End of MCB file design.mcb reached unexpectedly.");
    const Result value_end = Fails("Error 9161. End of MCB file design.mcb reached unexpectedly.");
    const Result count_error = Fails("Error 9158. Failed to read of MCB file design.mcb.");
    const Result value_error = Fails("Error 9160. Failed to read of MCB file design.mcb.");
    const std::string content = runs("03 AA 02 BB 04 DD", 9).content();
    for (const bool compressed : {false, true})
        for (std::size_t kept = 0; kept < 6; ++kept) {
            compress(compressed);
            write_file("design.mcb", content.substr(0, McbFile::HEADER_SIZE + kept));
            const Result& ended = kept % 2 == 0 ? count_end : value_end;
            EXPECT_EQ(load_mcb(), ended) << kept;
            const Result& failed = kept % 2 == 0 ? count_error : value_error;
            EXPECT_EQ(load_mcb(stream_failing_at(content, McbFile::HEADER_SIZE + kept)), failed) << kept;
            EXPECT_EQ(session.send_count, compressed ? kept / 2 * 2 : kept < 2 ? 0U : kept < 4 ? 3U : 5U);
        }
}

TEST_F(McbLoader, ReadingStopsAtTheRunThatReachesTheTotal)
{
    McbFile file = runs("05 AA 06 BB 07 CC", 8);
    file.tail = "rest";
    EXPECT_EQ(load_mcb(file), Succeeds());
    EXPECT_EQ(module.received(), bytes("AA AA AA AA AA BB BB BB BB BB BB"));
    EXPECT_EQ(printed_texts.at(1), "\\r% Done: 137 \\n");
    compress();
    EXPECT_EQ(load_mcb(file), Succeeds());
    EXPECT_EQ(module.received(), bytes("05 AA 06 BB"));
}

TEST_F(McbLoader, ReadingStopsAtATotalRightBehindAReport)
{
    platform.logs_data = false;
    Bytes data(5020);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(i);
    McbFile file{data}; // runs of one, one more than the total at the least
    for (std::int32_t total = 4995; total < 5015; ++total) {
        SCOPED_TRACE(total);
        file.byte_count = total;
        compress(false);
        EXPECT_EQ(load_mcb(file), Succeeds());
        EXPECT_EQ(module.received(), Bytes(data.begin(), data.begin() + total));
        compress();
        EXPECT_EQ(load_mcb(file), Succeeds());
        EXPECT_EQ(module.received(), Bytes(file.runs.begin(), file.runs.begin() + 2 * total));
    }
}

// The run that reaches into the last four bytes is cut, and is the last one.
TEST_F(McbLoader, OlderFamiliesAreNotSentTheLastFourBytes)
{
    session.virtex2_family = 0;
    const McbFile file = runs("96 AA C8 BB 01 CC", 300); // 150 bytes, then 200
    EXPECT_EQ(load_mcb(file), Succeeds());
    Bytes sent(150, 0xAA);
    sent.insert(sent.end(), 146, 0xBB);
    EXPECT_EQ(module.received(), sent);
    EXPECT_EQ(printed_texts.at(1), "\\r% Done: 100 \\n");
    compress();
    EXPECT_EQ(load_mcb(file), Succeeds());
    EXPECT_EQ(module.received(), bytes("96 AA 92 BB"));
}

// Within a longest run of the tail runs are sent one by one: behind one of none the next may reach into the
// tail.
TEST_F(McbLoader, ARunOfNoneALongestRunInFrontOfTheTailIsSentByItself)
{
    session.virtex2_family = 0;
    const struct {
        std::int32_t total;
        std::uint8_t sent; ///< of the second run
    } rows[] = {{260, 255}, {259, 255}, {258, 254}, {257, 253}};
    for (const auto& row : rows) {
        const McbFile file = runs("00 11 FF 22 0A 33", row.total);
        compress(false);
        EXPECT_EQ(load_mcb(file), Succeeds());
        Bytes plain(row.sent, 0x22);
        Bytes coded{0x00, 0x11, row.sent, 0x22};
        if (row.total == 260) { // the second run ends a byte short of the tail
            plain.push_back(0x33);
            coded.insert(coded.end(), {0x01, 0x33});
        }
        EXPECT_EQ(module.received(), plain) << row.total;
        compress();
        EXPECT_EQ(load_mcb(file), Succeeds());
        EXPECT_EQ(module.received(), coded) << row.total;
    }
}

TEST_F(McbLoader, TheTailBeginsFourBytesBeforeTheTotalWhateverTheRuns)
{
    session.virtex2_family = 0;
    const struct {
        const char* pairs;
        std::int32_t total;
        const char* plain;
        const char* compressed;
    } rows[] = {
        // The run ends one byte short of the tail, just at it, and in it.
        {"03 AA 05 BB", 8, "AA AA AA BB", "03 AA 01 BB"},
        {"04 AA 04 BB", 8, "AA AA AA AA", "04 AA"},
        {"05 AA 03 BB", 8, "AA AA AA AA", "04 AA"},
        {"08 AA", 8, "AA AA AA AA", "04 AA"},
        // Runs of none in front of the tail are passed on; one at the tail is the last.
        {"00 AA 04 BB 04 CC", 8, "BB BB BB BB", "00 AA 04 BB"},
        {"00 AA 04 BB", 4, "", "00 AA"},
        // With fewer than four bytes in all the cut count leaves 8 bits.
        {"03 AA", 3, "", "FF AA"},
        {"01 AA", 1, "", "FD AA"},
    };
    for (const auto& row : rows) {
        compress(false);
        EXPECT_EQ(load_mcb(runs(row.pairs, row.total)), Succeeds()) << row.pairs;
        EXPECT_EQ(module.received(), bytes(row.plain)) << row.pairs;
        compress();
        EXPECT_EQ(load_mcb(runs(row.pairs, row.total)), Succeeds()) << row.pairs;
        EXPECT_EQ(module.received(), bytes(row.compressed)) << row.pairs;
    }
}

namespace
{
/// What an older family is sent of runs, taken run by run.
Bytes sent_run_by_run(const Bytes& pairs, int total, bool compressed)
{
    Bytes sent;
    int done = 0;
    for (std::size_t i = 0; done < total; i += 2) {
        const int count = pairs.at(i);
        const std::uint8_t value = pairs.at(i + 1);
        const bool is_last = done + count >= total - 4;
        const int kept = is_last ? total - done - 4 : count;
        if (compressed)
            sent.insert(sent.end(), {static_cast<std::uint8_t>(kept), value});
        else if (kept > 0)
            sent.insert(sent.end(), static_cast<std::size_t>(kept), value);
        done = is_last ? total : done + count;
    }
    return sent;
}
} // namespace

TEST_F(McbLoader, EveryTotalOfOlderFamiliesIsSentAsRunByRun)
{
    session.virtex2_family = 0;
    platform.logs_data = false;
    const Bytes pairs = run_coded(sample_data(2000));
    McbFile file{0};
    file.runs = pairs;
    for (int total = 1; total <= 1200; total += 7) {
        file.byte_count = total;
        file.write();
        for (const bool compressed : {false, true}) {
            compress(compressed);
            ASSERT_EQ(load_mcb(), Succeeds()) << total;
            ASSERT_EQ(module.received(), sent_run_by_run(pairs, total, compressed)) << total;
        }
    }
}

TEST_F(McbLoader, ShowsProgressWhenMoreThan5000BytesHavePassed)
{
    const auto shown = [this](const McbFile& file) {
        EXPECT_EQ(load_mcb(file), Succeeds());
        return progress();
    };
    platform.logs_data = false;
    for (const bool compressed : {false, true}) {
        compress(compressed);
        EXPECT_EQ(shown(McbFile{Bytes(5000, 1)}), (Lines{"\\r% Done: 100 \\n"}));
        EXPECT_EQ(shown(McbFile{Bytes(5001, 1)}), (Lines{"\\r% Done: 100", "\\r% Done: 100 \\n"}));
        // Runs of 255: reports at 5100, 10200 and 15300.
        EXPECT_EQ(shown(McbFile{Bytes(16000, 1)}),
                  (Lines{"\\r% Done: 31", "\\r% Done: 63", "\\r% Done: 95", "\\r% Done: 100 \\n"}));
    }
}

TEST_F(McbLoader, TheProgressOfTheTailIsThatOfTheTotal)
{
    session.virtex2_family = 0;
    EXPECT_EQ(load_mcb(McbFile{Bytes(5101, 1)}), Succeeds());
    EXPECT_EQ(printed_texts.at(1), "\\r% Done: 100") << "5100 bytes are reached in the tail";
    EXPECT_EQ(printed_texts.at(2), "\\r% Done: 100 \\n");
}

TEST_F(McbLoader, ThePercentageWrapsIn32Bits)
{
    platform.logs_data = false;
    compress();
    EXPECT_EQ(load_mcb(McbFile{Bytes(21474837, 0)}), Succeeds());
    EXPECT_EQ(printed_texts.at(printed_texts.size() - 3), "\\r% Done: -99 \\n");
}

TEST_F(McbLoader, ATotalOfNoneSendsNothingAndShowsNoProgress)
{
    EXPECT_EQ(load_mcb(runs("05 AA", 0)), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});
    EXPECT_EQ(printed_texts,
              (Lines{"Checking header section of the file <design.mcb>.\\n",
                     "The bitstream has been downloaded.\\n", "Configuration was successful.\\n"}));
}

TEST_F(McbLoader, ATotalBelowZeroSendsNothing)
{
    session.verbose = 1;
    EXPECT_EQ(load_mcb(runs("05 AA", -1)), Succeeds());
    EXPECT_EQ(module.received(), Bytes{});
    EXPECT_EQ(printed_texts.at(2), "The compressed file contains -1 configuration bytes.\\n");
}

TEST_F(McbLoader, Error9172HasNoParentheses)
{
    for (const int status : {0, 4, 6, 255}) {
        module.verdict[0] = static_cast<std::uint8_t>(status);
        EXPECT_EQ(load_mcb(McbFile{}),
                  Fails("Error 9172. Configuration was unsuccessful " + std::to_string(status) + "."));
        EXPECT_EQ(printed_texts.back(), "The bitstream has been downloaded.\\n");
    }
}

TEST_F(McbLoader, Error9153UnlessTheDeviceGoesOnBehindTheModulesName)
{
    for (const char* name : {"2v3000-fg676", "2v3000fg676", "-4", ""}) {
        device(name);
        EXPECT_EQ(load_mcb(McbFile{}), Succeeds()) << name;
    }
    device("2v3000-4");
    McbFile file;
    file.device = "2v3000bf957";
    EXPECT_EQ(load_mcb(file), Succeeds());
    file.device = std::string(255, 'x'); // a text without its zero byte
    EXPECT_EQ(load_mcb(file), Fails("Error 9153. Bitstream design.mcb is not for a 2v3000-4 device."));
}

TEST_F(McbLoader, TheDeviceIsTheOneItIsGiven)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(load_mcb(McbFile{}), Succeeds());
}
