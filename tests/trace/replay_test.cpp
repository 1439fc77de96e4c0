// SPDX-License-Identifier: Apache-2.0
#include "replay.h"

#include "trace_support.h"

#include <thread>

using mwtrace::Json;
using mwtrace::Replay;

namespace
{
const std::string SHORT_TRACE =
    FIRST_LINE +
    R"({"t":1,"took":2,"call":"MwOpenS","in":{"board":0,"board_type":"mwc4a","device":"ksb"},"result":0,"got":{"handle":1}}
{"t":2,"took":2,"call":"MwKSBSendMessageDataEx","in":{"data":{"hex":"0D 05 01 02 03 04 05 06 07 08"},"handle":1,"sizes":[[1,2],[2,4]],"timeout":5000},"result":0}
{"t":3,"took":2,"call":"MwClose","in":{"handle":1},"result":0,"got":{"handle":0}}
)";
const Json OPENING = {{"board", 0U}, {"board_type", "mwc4a"}, {"device", "ksb"}};

class ReplayTest : public FolderTest
{
protected:
    [[nodiscard]] Replay replay_of(const std::string& trace) const
    {
        write("trace", trace);
        return Replay{path("trace")};
    }
};

TEST_F(ReplayTest, GivesTheRecordedAnswersInOrder)
{
    Replay replay = replay_of(SHORT_TRACE);
    const auto opened = replay.answer("MwOpenS", OPENING);
    ASSERT_TRUE(opened);
    MW_HANDLE* handle = replay.open(static_cast<unsigned>(*opened->got.at("handle").number()));
    EXPECT_EQ(replay.answer_data(handle, "\x0D\x05", 2, 5000), 0U);
    EXPECT_EQ(replay.answer_data(handle, "\x01\x02\x03\x04", 4, 5000), 0U);
    EXPECT_EQ(replay.answer_data(handle, "\x05\x06\x07\x08", 4, 5000), 0U);
    EXPECT_TRUE(replay.answer("MwClose", {{"handle", 1U}}));
    EXPECT_EQ(replay.status(), 0U);
    EXPECT_EQ(replay.rest(), "");
}

TEST_F(ReplayTest, FailsAtTheFirstCallThatDepartsAndNamesBoth)
{
    Replay replay = replay_of(SHORT_TRACE);
    ASSERT_TRUE(replay.answer("MwOpenS", OPENING));
    MW_HANDLE* handle = replay.open(1);
    EXPECT_EQ(replay.answer_data(handle, "\x0D\x05", 2, 5000), 0U);
    EXPECT_EQ(replay.answer_data(handle, "\x01\x02\x03\xFF", 4, 5000), mwtrace::DEPARTED);
    EXPECT_EQ(
        replay.words(),
        "call 3 departs from the recording: expected line 3, MwKSBSendMessageDataEx(data 01 02 03 04, handle 1, length 4, timeout 5000); made MwKSBSendMessageDataEx(data 01 02 03 FF, handle 1, length 4, timeout 5000)");
    EXPECT_EQ(replay.answer_data(handle, "\x01\x02\x03\x04", 4, 5000), mwtrace::DEPARTED) << "and stays so";
    EXPECT_FALSE(replay.answer("MwClose", {{"handle", 1U}}));
}

TEST_F(ReplayTest, EveryDifferenceIsADeparture)
{
    struct Piece {
        unsigned handle;
        const char* data;
        std::uint32_t length;
        std::uint32_t timeout;
    };
    for (const Piece& piece :
         {Piece{1, "\x0D\x05", 1, 5000}, Piece{1, "\x0D\x05\x01", 3, 5000}, Piece{1, "\x0D\x05", 2, 4999},
          Piece{2, "\x0D\x05", 2, 5000}, Piece{1, nullptr, 2, 5000}, Piece{0, "\x0D\x05", 2, 5000}}) {
        Replay replay = replay_of(SHORT_TRACE);
        ASSERT_TRUE(replay.answer("MwOpenS", OPENING));
        MW_HANDLE* handle = replay.open(piece.handle);
        EXPECT_EQ(replay.answer_data(handle, piece.data, piece.length, piece.timeout), mwtrace::DEPARTED);
    }
}

TEST_F(ReplayTest, WordsFitAnErrorText)
{
    Replay replay = replay_of(SHORT_TRACE);
    const Json long_type = {{"board", 0U}, {"board_type", std::string(1000, 'x')}, {"device", "ksb"}};
    EXPECT_FALSE(replay.answer("MwOpenS", long_type));
    EXPECT_LE(replay.words().size(), 255U);
    EXPECT_TRUE(replay.words().ends_with("xxx...")) << replay.words();
}

TEST_F(ReplayTest, TellsWhenNothingMoreWasRecorded)
{
    Replay whole = replay_of(FIRST_LINE);
    EXPECT_FALSE(whole.answer("MwClose", {{"handle", 0U}}));
    EXPECT_EQ(whole.words(),
              "call 1 departs from the recording: expected nothing more; made MwClose(handle 0)");

    Replay cut = replay_of(SHORT_TRACE.substr(0, FIRST_LINE.size() + 20));
    EXPECT_FALSE(cut.answer("MwOpenS", OPENING));
    EXPECT_EQ(cut.words(), "call 1 departs from the recording: expected nothing more (the recording is cut "
                           "off); made MwOpenS(board 0, board_type \"mwc4a\", device \"ksb\")");
}

TEST_F(ReplayTest, TellsWhatWasLeftOut)
{
    Replay replay = replay_of(SHORT_TRACE);
    EXPECT_EQ(replay.rest(), "") << "no run has begun";
    ASSERT_TRUE(replay.answer("MwOpenS", OPENING));
    EXPECT_EQ(replay.rest(), "the run ended before the recording, of which 2 records were left; the next was "
                             "MwKSBSendMessageDataEx(data 0D 05, handle 1, length 2, timeout 5000)");
}

TEST_F(ReplayTest, ATraceThatCannotBeUsedFailsEveryCall)
{
    Replay replay = replay_of(FIRST_LINE + "{}\n");
    EXPECT_EQ(replay.status(), mwtrace::BAD_TRACE);
    EXPECT_EQ(replay.words(), path("trace") + ":2: \"call\" must be one of the sixteen functions");
    EXPECT_FALSE(replay.answer("MwOpenS", OPENING));
    EXPECT_EQ(replay.answer_data(nullptr, "A", 1, 5000), mwtrace::BAD_TRACE);
}

TEST_F(ReplayTest, MatchesThreadsByTheirFirstCalls)
{
    write("trace", FIRST_LINE +
                       R"({"t":1,"took":0,"call":"MwErr2Text","in":{"code":1},"result":0}
{"t":2,"took":0,"thread":2,"call":"MwErr2Text","in":{"code":2},"result":0}
{"t":3,"took":0,"call":"MwErr2Text","in":{"code":11},"result":0}
{"t":4,"took":0,"thread":2,"call":"MwErr2Text","in":{"code":22},"result":0}
)");
    Replay replay{path("trace")};
    std::thread{[&] {
        EXPECT_TRUE(replay.answer("MwErr2Text", {{"code", 2U}}));
        EXPECT_TRUE(replay.answer("MwErr2Text", {{"code", 22U}}));
    }}.join();
    EXPECT_TRUE(replay.answer("MwErr2Text", {{"code", 1U}}));
    EXPECT_TRUE(replay.answer("MwErr2Text", {{"code", 11U}}));
    EXPECT_EQ(replay.rest(), "");
}

TEST_F(ReplayTest, KnowsHandlesThatWereOpenedElsewhere)
{
    Replay replay = replay_of(SHORT_TRACE);
    int somewhere = 0;
    const auto* stranger = reinterpret_cast<MW_HANDLE*>(&somewhere);
    EXPECT_EQ(replay.number_of(nullptr), 0U);
    EXPECT_EQ(replay.number_of(replay.open(4)), 4U);
    EXPECT_EQ(replay.number_of(stranger), 5U);
    EXPECT_EQ(replay.number_of(stranger), 5U);
    EXPECT_EQ(replay.open(0), nullptr);
}
} // namespace
