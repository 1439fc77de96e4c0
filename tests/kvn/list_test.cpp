// SPDX-License-Identifier: Apache-2.0
// kvn list: boards and modules, as a table and as JSON.
#include "kvn_fixture.h"
#include "system/command_words.h"

#include <gmock/gmock.h>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class KvnList : public KvnOnBoards
{
protected:
    static constexpr const char* BOARD_0 =
        "Module     Kind       Type         Model  Version  Device         Compressed loads\n"
        "mwc4a:0/1  module     KAVRIN-FPGA  4      2        2v3000fg676-4  yes\n"
        "mwc4a:0/2  module     KAVRIN-FPGA  3      1        v300pq240-5    no\n"
        "mwc4a:0/3  processor\n"
        "mwc4a:0/4  empty\n";
};

TEST_F(KvnList, ShowsEverySlotOfABoard)
{
    const Outcome listed = kvn({"list", "mwc4a:0"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.output, BOARD_0);
    EXPECT_EQ(listed.errors, ANNOUNCED);
}

TEST_F(KvnList, TakesTheBoardFromTheEnvironment)
{
    variables["MWAPIJTAG"] = "mwc4a 0";
    EXPECT_EQ(kvn({"list"}).output, BOARD_0);
    variables["MWAPIKSB"] = "mwc4a 1";
    EXPECT_THAT(kvn({"list"}).output, HasSubstr("\nmwc4a:1/2  module  KAVRIN-IO    4"));
}

TEST_F(KvnList, NeverGuessesABoard)
{
    const Outcome refused = kvn({"list"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors,
              "kvn: no board is named, by the command line or by MWAPIKSB\n"
              "why: boards have a type and a number, and which types there are is not known here\n"
              "try: kvn list mwc4a\n");
    EXPECT_EQ(kvn({"list", "mwc4a"}).status, 0) << "what the hint says";
    EXPECT_THAT(kvn({"list", "--rack", "my rack.toml"}).errors,
                EndsWith("try: kvn list mwc4a --rack " + kvn::system::command_word("my rack.toml") + "\n"));
}

TEST_F(KvnList, OfAllBoardsOfATypeShowsThoseThatOpen)
{
    const Outcome listed = kvn({"list", "mwc4a"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_THAT(listed.output, HasSubstr("\nmwc4a:1/4  empty\n14 boards could not be opened: "
                                         "kvn list mwc4a --all tells why\n"));
    const Outcome all = kvn({"list", "mwc4a", "--all"});
    EXPECT_EQ(all.status, 0);
    EXPECT_THAT(all.output, HasSubstr("Error 9201. Cannot open KSB device on board \"mwc4a 15\" ("));
    EXPECT_THAT(all.output, Not(HasSubstr("could not be opened")));
}

TEST_F(KvnList, ABoardThatCannotBeOpenedIsARowAndAnError)
{
    const Outcome listed = kvn({"list", "mwc4a:7"});
    EXPECT_EQ(listed.status, 6);
    EXPECT_THAT(listed.output,
                testing::MatchesRegex("Module   Kind      Remark\nmwc4a:7  not read  Error 9201.*\n"));
    EXPECT_THAT(listed.errors, HasSubstr("\nkvn: mwc4a:7: Error 9201. "));
    EXPECT_THAT(listed.errors, HasSubstr("\ntry: "));
    EXPECT_EQ(kvn({"list", "nothing"}).status, 6) << "no board of the type";
}

TEST_F(KvnList, ShowsOneModuleAndOneBehindAnotherBoard)
{
    EXPECT_EQ(kvn({"list", "mwc4a:0/2"}).output,
              "Module     Kind    Type         Model  Version  Device       Compressed loads\n"
              "mwc4a:0/2  module  KAVRIN-FPGA  3      1        v300pq240-5  no\n");
    EXPECT_THAT(kvn({"list", "mwc4a:0/1.1"}).output, HasSubstr("\nmwc4a:0/1.1  module  KAVRIN-FPGA"));
}

TEST_F(KvnList, ARowSaysWhyAModuleIsNotKnown)
{
    use_rack("", "\n[[board.slot.fault]]\nkind = \"no-reply\"\nreply = \"identification\"\n");
    const Outcome listed = kvn({"list", "mwc4a:0", "--rack", "rack.toml"});
    EXPECT_THAT(listed.output, HasSubstr("Error "));
}

TEST_F(KvnList, ARackChoosesTheVirtualBoards)
{
    use_rack();
    variables.clear();
    const Outcome listed = kvn({"list", "mwc4a:0", "--rack", "rack.toml"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.errors, ANNOUNCED);
    EXPECT_THAT(listed.output, HasSubstr("2v40cs144-4"));
}

TEST_F(KvnList, AProviderThatCannotBeLoadedIsAnErrorThatSaysWhatToDo)
{
    const Outcome listed = kvn({"list", "mwc4a:0", "--provider", "./none.so"});
    EXPECT_EQ(listed.status, 6);
    EXPECT_EQ(listed.output, "");
    EXPECT_THAT(listed.errors, testing::StartsWith("kvn: the provider ./none.so cannot be used: "));
    EXPECT_THAT(listed.errors, HasSubstr("\nwhy: "));
    EXPECT_THAT(listed.errors, HasSubstr("\ntry: "));
}

TEST_F(KvnList, AReplayedRecordingIsAnnounced)
{
    variables["MWVIRTUAL_TRACE"] = "run.jsonl";
    ASSERT_EQ(kvn({"list", "mwc4a:0"}).status, 0);
    variables.clear();
    const Outcome replayed = kvn({"list", "mwc4a:0", "--provider", "replay:run.jsonl"});
    EXPECT_EQ(replayed.output, BOARD_0);
    EXPECT_THAT(replayed.errors, testing::StartsWith("kvn: provider replay:run.jsonl: "));
}

TEST_F(KvnList, AWordThatNamesNoBoardIsAnError)
{
    EXPECT_EQ(kvn({"list", "mwc4a:16"}).errors, "kvn: \"mwc4a:16\" names no board\n"
                                                "try: write type and number (0 to 15), such as mwc4a:0\n");
    EXPECT_EQ(kvn({"list", "mwc4a:0/5"}).status, 2);
    variables["MWAPIKSB"] = "mwc4a x";
    EXPECT_EQ(kvn({"list"}).status, 2);
}

/// The calls of a run, one word for each.
class KvnListCalls : public KvnList
{
protected:
    [[nodiscard]] std::string calls_of(const std::string& boards)
    {
        variables["MWVIRTUAL_TRACE"] = "run.jsonl";
        EXPECT_EQ(kvn({"list", boards}).status, 0);
        std::string calls;
        const nlohmann::json document = json({"trace", "run.jsonl"});
        for (const nlohmann::json& call : document["calls"])
            calls += call["call"].get<std::string>().substr(2) + " ";
        return calls;
    }
};

TEST_F(KvnListCalls, AreThoseByWhichTheCoreAsksEachSlot)
{
    const std::string module = "GetBoardInfo KSBSendMessageEx KSBReceiveMessageEx ";
    const std::string query = "KSBSendMessageEx KSBReceiveMessageEx ";
    const std::string none = "GetBoardInfo ";
    const std::string opened = "OpenS InitIoStatus InitIoStatus ";
    const std::string first = opened + module + query + module + none + none + "Close ";
    EXPECT_EQ(calls_of("mwc4a:0"), first);
    std::string all = first + opened + module + query + module + none + none + "Close ";
    for (int board = 2; board < 16; ++board)
        all += "OpenS Err2Text ";
    EXPECT_EQ(calls_of("mwc4a"), all);
}

TEST_F(KvnList, PrintsJson)
{
    const nlohmann::json document = json({"list", "mwc4a:0"});
    EXPECT_EQ(document["kvn"], "boards");
    EXPECT_EQ(document["version"], "1.0");
    EXPECT_EQ(document["error"], nullptr);
    EXPECT_EQ(document["provider"]["name"], "virtual");
    EXPECT_EQ(document["provider"]["simulated"], true);
    ASSERT_EQ(document["boards"].size(), 1U);
    const nlohmann::json& slots = document["boards"][0]["slots"];
    ASSERT_EQ(slots.size(), 4U);
    EXPECT_EQ(slots[0]["identity"]["device_part"],
              (nlohmann::json{{"device", "2v3000"}, {"package", "fg676"}, {"speed_grade", "4"}}));
    EXPECT_EQ(slots[2]["kind"], "processor");
    EXPECT_EQ(json({"list", "mwc4a"})["boards"].size(), 16U);
    EXPECT_EQ(json({"list", "mwc4a:0/1"})["slots"][0]["module"], "mwc4a:0/1");
    EXPECT_EQ(json({"list", "mwc4a:9"})["boards"][0]["failure"]["status"], 6);
}
} // namespace
