// SPDX-License-Identifier: Apache-2.0
#include "recorder.h"

#include "recording.h"
#include "support/special_files.h"
#include "trace_support.h"

#include <gmock/gmock.h>

#include <thread>

using mwtrace::Json;
using mwtrace::Recorder;
using mwtrace::Recording;

namespace
{
class RecorderTest : public FolderTest
{
protected:
    /// The trace's lines behind the first, without their times.
    [[nodiscard]] std::vector<std::string> lines() const
    {
        std::vector<std::string> all = FolderTest::lines("trace");
        all.erase(all.begin());
        for (std::string& line : all)
            line.erase(0, line.find("\"took\""));
        return all;
    }
};

TEST_F(RecorderTest, BeginsWithALineOfItsOwn)
{
    {
        const Recorder recorder{path("trace"), "libmwapi.so"};
    }
    const Json first = Json::parse(content("trace"), {}).value();
    EXPECT_EQ(first.at("trace"), "mwapi");
    EXPECT_EQ(first.at("version"), 1);
    EXPECT_EQ(first.at("provider"), "libmwapi.so");
    EXPECT_THAT(*first.at("started").text(), testing::MatchesRegex("20..-..-..T..:..:..Z"));
}

TEST_F(RecorderTest, WritesEachCallAtOnce)
{
    Recorder recorder{path("trace"), "test"};
    recorder.add("MwInitIoStatus", {5, 7}, {{"handle", 1}}, 0, {{"io_status", 3}});
    recorder.add("MwClose", {9, 9}, {{"handle", 1}}, 0x80000001, nullptr);
    EXPECT_THAT(lines(),
                testing::ElementsAre(
                    R"("took":2,"call":"MwInitIoStatus","in":{"handle":1},"result":0,"got":{"io_status":3}})",
                    R"("took":0,"call":"MwClose","in":{"handle":1},"result":2147483649})"));
    EXPECT_THAT(content("trace"), testing::HasSubstr("\n{\"t\":5,\"took\":2,"));
}

TEST_F(RecorderTest, JoinsPiecesAndKeepsTheirBoundaries)
{
    Recorder recorder{path("trace"), "test"};
    const std::string data = "0123456789ABCDEF";
    recorder.add_data({1, data.data(), 2, 5000}, {1, 2}, 0);
    recorder.add_data({1, data.data() + 2, 4, 5000}, {3, 4}, 0);
    recorder.add_data({1, data.data() + 6, 4, 5000}, {5, 6}, 0);
    EXPECT_THAT(lines(), testing::IsEmpty()) << "more may follow";
    recorder.add("MwKSBEndOfSendMessageEx", {7, 8}, {{"handle", 1}}, 0, nullptr);
    EXPECT_THAT(
        lines(),
        testing::ElementsAre(
            R"("took":5,"call":"MwKSBSendMessageDataEx","in":{"data":{"hex":"30 31 32 33 34 35 36 37 38 39"},"handle":1,"sizes":[[1,2],[2,4]],"timeout":5000},"result":0})",
            R"("took":1,"call":"MwKSBEndOfSendMessageEx","in":{"handle":1},"result":0})"));
}

TEST_F(RecorderTest, DoesNotJoinWhatDiffers)
{
    Recorder recorder{path("trace"), "test"};
    recorder.add_data({1, "A", 1, 5000}, {0, 0}, 0);
    recorder.add_data({2, "B", 1, 5000}, {0, 0}, 0);
    recorder.add_data({2, "C", 1, 4000}, {0, 0}, 0);
    recorder.add_data({2, "D", 1, 4000}, {0, 0}, 0x77);
    recorder.add_data({2, nullptr, 1, 4000}, {0, 0}, 0);
    recorder.add_data({2, "E", 1, 4000}, {0, 0}, 0);
    recorder.flush();
    EXPECT_EQ(lines().size(), 6U);
    const Recording recording{path("trace")};
    EXPECT_EQ(recording.record(3).result, 0x77U);
    EXPECT_TRUE(recording.record(4).data_is_null);
}

TEST_F(RecorderTest, ALargeLoadStaysWithinTwiceItsData)
{
    constexpr std::size_t pieces = 163'974; // a device of 10 Mbit
    std::vector<std::uint8_t> data(pieces * 8);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(i * i >> 3);
    {
        Recorder recorder{path("trace"), "test"};
        for (std::size_t i = 0; i < pieces; ++i)
            recorder.add_data({1, &data[i * 8], 8, 5000}, {i, i}, 0);
    }
    EXPECT_LT(std::filesystem::file_size(path("trace")), data.size() * 2);

    const Recording recording{path("trace")};
    mwtrace::Bytes all;
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < recording.size(); ++i) {
        const mwtrace::Record record = recording.record(i);
        all.insert(all.end(), record.data.begin(), record.data.end());
        for (const auto& run : record.sizes) {
            EXPECT_EQ(run.length, 8U);
            found += run.count;
        }
    }
    EXPECT_EQ(all, data);
    EXPECT_EQ(found, pieces);
}

TEST_F(RecorderTest, NumbersHandlesAndForgetsClosedOnes)
{
    Recorder recorder{path("trace"), "test"};
    int first = 0;
    int second = 0;
    const auto* one = reinterpret_cast<MW_HANDLE*>(&first);
    const auto* two = reinterpret_cast<MW_HANDLE*>(&second);
    EXPECT_EQ(recorder.number_of(nullptr), 0U);
    EXPECT_EQ(recorder.opened(one), 1U);
    EXPECT_EQ(recorder.number_of(two), 2U) << "opened elsewhere";
    EXPECT_EQ(recorder.number_of(one), 1U);
    recorder.closed(one);
    EXPECT_EQ(recorder.opened(one), 3U) << "the same address, another handle";
}

TEST_F(RecorderTest, KeepsThePiecesOfThreadsApart)
{
    Recorder recorder{path("trace"), "test"};
    recorder.add_data({1, "A", 1, 5000}, {0, 0}, 0);
    std::thread{[&] {
        recorder.add_data({2, "B", 1, 5000}, {0, 0}, 0);
        recorder.add("MwClose", {0, 0}, {{"handle", 2}}, 0, nullptr);
    }}.join();
    recorder.add_data({1, "C", 1, 5000}, {0, 0}, 0);
    recorder.flush();
    const Recording recording{path("trace")};
    ASSERT_EQ(recording.size(), 3U);
    EXPECT_EQ(recording.thread(0), 2U);
    EXPECT_EQ(recording.thread(1), 2U);
    EXPECT_EQ(recording.thread(2), 1U);
    EXPECT_EQ(recording.record(2).data, (mwtrace::Bytes{'A', 'C'}));
}

TEST_F(RecorderTest, RefusesWhatIsNoRegularFileOrCannotBeMadeAndDoesNotWaitForIt)
{
    make_fifo(path("fifo"));
    const std::string irregular = "it is no regular file";
    for (const auto& [file, why] : {std::pair{path("fifo"), irregular},
                                    {folder.string(), irregular},
                                    {"/dev/null", irregular},
                                    {path("no/trace"), "No such file or directory"}}) {
        testing::internal::CaptureStderr();
        {
            Recorder recorder{file, "test"};
            recorder.add_data({1, "A", 1, 5000}, {0, 0}, 0);
            recorder.add("MwClose", {0, 0}, {{"handle", 1}}, 0, nullptr);
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "mwtrace: cannot write " + file + ": " + why + "; the run goes on unrecorded\n");
    }
}
} // namespace
