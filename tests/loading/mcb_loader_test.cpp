// SPDX-License-Identifier: Apache-2.0
// The MCB loader: the errors of its files and of the verdict, the tail of older families.
#include "load_fixture.h"

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

const char* const WRONG_MAGIC = "Error 9151. Invalid magic numbers in MCB file design.mcb.";
const char* const NOT_FOR_IT = "Error 9153. Bitstream design.mcb is not for a 2v3000fg676-4 device.";

const FileFault<McbFile> header_faults[] = {
    {"FirstMagicNumber", [](auto& file) { file.first_magic ^= 1; }, WRONG_MAGIC},
    {"SecondMagicNumber", [](auto& file) { file.second_magic ^= 0x80000000; }, WRONG_MAGIC},
    {"SwappedMagicNumbers", [](auto& file) { std::swap(file.first_magic, file.second_magic); }, WRONG_MAGIC},
    {"OtherDevice", [](auto& file) { file.device = "2v1000fg456"; }, NOT_FOR_IT},
    {"OtherCase", [](auto& file) { file.device = "2V3000fg676"; }, NOT_FOR_IT},
    {"NoDevice", [](auto& file) { file.device.clear(); }, NOT_FOR_IT},
    {"DeviceWithoutItsZeroByte", [](auto& file) { file.device = std::string(255, 'x'); }, NOT_FOR_IT},
};

using McbLoaderHeader = With<LoadFixture, FileFault<McbFile>>;

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
    const char* const ended[] = {"Error 9159. End of MCB file design.mcb reached unexpectedly.",
                                 "Error 9161. End of MCB file design.mcb reached unexpectedly."};
    const char* const failed[] = {"Error 9158. Failed to read of MCB file design.mcb.",
                                  "Error 9160. Failed to read of MCB file design.mcb."};
    const std::string content = runs("03 AA 02 BB 04 DD", 9).content();
    for (const bool compressed : {false, true})
        for (std::size_t kept = 0; kept < 6; ++kept) {
            compress(compressed);
            write_file("design.mcb", content.substr(0, McbFile::HEADER_SIZE + kept));
            EXPECT_EQ(load_mcb(), Fails(ended[kept % 2])) << kept;
            EXPECT_EQ(load_mcb(stream_failing_at(content, McbFile::HEADER_SIZE + kept)),
                      Fails(failed[kept % 2]))
                << kept;
            EXPECT_EQ(session.send_count, compressed ? kept / 2 * 2 : kept < 2 ? 0U : kept < 4 ? 3U : 5U);
        }
}

TEST_F(McbLoader, ReadingStopsAtTheRunThatReachesTheTotal)
{
    EXPECT_EQ(load_mcb(runs("05 AA 06 BB 07 CC", 8)), Succeeds());
    EXPECT_EQ(module.received(), bytes("AA AA AA AA AA BB BB BB BB BB BB"));
    EXPECT_EQ(printed_texts.at(1), "\\r% Done: 137 \\n");
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

// Within a longest run of the tail runs are sent one by one: behind one of none the next may reach into the
// tail.
TEST_F(McbLoader, EveryTotalOfOlderFamiliesIsSentAsRunByRun)
{
    session.virtex2_family = 0;
    platform.logs_data = false;
    const auto expect_each = [this](const Bytes& pairs, int first, int last, int step) {
        McbFile file{0};
        file.runs = pairs;
        for (int total = first; total <= last; total += step) {
            file.byte_count = total;
            file.write();
            for (const bool compressed : {false, true}) {
                compress(compressed);
                ASSERT_EQ(load_mcb(), Succeeds()) << total;
                ASSERT_EQ(module.received(), sent_run_by_run(pairs, total, compressed)) << total;
            }
        }
    };
    expect_each(run_coded(sample_data(2000)), 1, 1200, 7);
    expect_each(bytes("00 11 FF 22 0A 33"), 250, 265, 1);
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

TEST_F(McbLoader, TheDeviceIsTheOneItIsGiven)
{
    std::strcpy(session.device_name, "s40xlpq208-4");
    EXPECT_EQ(load_mcb(McbFile{}), Succeeds());
}
} // namespace
