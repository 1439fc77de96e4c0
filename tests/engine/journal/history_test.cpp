// SPDX-License-Identifier: Apache-2.0
// The last loads that a folder of journals has seen.
#include "run/history.h"

#include "errors/failure.h"
#include "run/journal_line.h"
#include "support/folder_test.h"
#include "support/journals.h"
#include "support/special_files.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace
{
using journals::begun;
using journals::finished;
using kvn::History;
using kvn::Json;
using kvn::ModuleState;
using kvn::SeenLoad;
using kvn::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

class HistoryTest : public FolderTest
{
protected:
    void journal(const std::string& name, const std::vector<Json>& events,
                 const kvn::JournalHeader& header = journals::header()) const
    {
        kvn::Journal written{path(name), header, journals::planned(4)};
        for (const Json& event : events)
            written.append(event);
    }

    [[nodiscard]] static kvn::JournalHeader header_of(const std::string& host,
                                                      const std::string& operator_name)
    {
        kvn::JournalHeader header = journals::header();
        header.host = host;
        header.operator_name = operator_name;
        return header;
    }

    [[nodiscard]] History history(const std::string& module = "") const
    {
        return kvn::read_history(folder.string(), module);
    }

    /// "line-3 mwc4a:0/1 a.journal:4" for each load.
    [[nodiscard]] static std::vector<std::string> places(const History& history)
    {
        std::vector<std::string> all;
        for (const SeenLoad& load : history.loads)
            all.push_back(load.host.value_or("?") + ' ' + load.module + ' ' + load.journal + ':' +
                          std::to_string(load.line));
        return all;
    }

    [[nodiscard]] static std::vector<std::string> problems(const History& history)
    {
        std::vector<std::string> all;
        for (const kvn::HistoryProblem& problem : history.problems)
            all.push_back(problem.journal + ": " + problem.what);
        return all;
    }
};

TEST_F(HistoryTest, TellsTheLastLoadOfEachModule)
{
    journal("b.journal", {begun(0, 1), finished(0), begun(1, 2), finished(1)});
    journal("a.journal", {begun(1, 10), finished(1, Verdict::refused, ModuleState::refused)});
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 b.journal:4", "line-3 mwc4a:0/2 a.journal:4"));
    EXPECT_EQ(found.journals, 2U);
    EXPECT_EQ(found.records, 3U);
    EXPECT_THAT(found.problems, IsEmpty());
    const SeenLoad& load = found.loads[1];
    EXPECT_EQ(load.begun_at, "2026-11-22T03:44:47.125Z");
    EXPECT_EQ(load.record, finished(1, Verdict::refused, ModuleState::refused)["record"]);
    EXPECT_TRUE(load.planned.is_null()) << "the record says more";
    EXPECT_EQ(load.operator_name, "operator 7");
    EXPECT_EQ(load.station, "station 2");
}

TEST_F(HistoryTest, TellsOneModule)
{
    journal("a.journal", {begun(0), finished(0), begun(1), finished(1)});
    EXPECT_THAT(places(history("mwc4a:0/2")), ElementsAre("line-3 mwc4a:0/2 a.journal:6"));
    EXPECT_THAT(places(history("mwc4a:0/3")), IsEmpty());
    EXPECT_EQ(history("mwc4a:0/3").records, 2U);
}

TEST_F(HistoryTest, ModulesOfDifferentHostsAreDifferent)
{
    journal("a.journal", {begun(0, 5), finished(0)}, header_of("line-2", "operator 1"));
    journal("b.journal", {begun(0, 1), finished(0)}, header_of("line-1", "operator 2"));
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-1 mwc4a:0/1 b.journal:4", "line-2 mwc4a:0/1 a.journal:4"));
    EXPECT_EQ(found.loads[0].operator_name, "operator 2");
}

TEST_F(HistoryTest, ALoadThatWasNotFinishedIsTheLastOne)
{
    journal("a.journal", {begun(0, 1), finished(0), begun(0, 2, 2)});
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 a.journal:5"));
    EXPECT_TRUE(found.loads[0].record.is_null());
    EXPECT_EQ(found.loads[0].planned["file"], "design.bit");
}

TEST_F(HistoryTest, AttemptsThatSentNothingAreNoLoads)
{
    journal("a.journal", {begun(0, 1), finished(0)});
    journal("b.journal", {begun(0, 9), finished(0, Verdict::failed, ModuleState::untouched),
                          finished(1, Verdict::not_tried, ModuleState::untouched), begun(2),
                          finished(2, Verdict::failed, ModuleState::untouched)});
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 a.journal:4"));
    EXPECT_EQ(found.records, 4U);
}

TEST_F(HistoryTest, ModulesThatARunHasKeptWereNotLoadedByIt)
{
    journal("a.journal", {begun(0, 1), finished(0)});
    journal("b.journal", {kvn::kept_event(finished(0)["record"])});
    EXPECT_THAT(places(history()), ElementsAre("line-3 mwc4a:0/1 a.journal:4"));
}

TEST_F(HistoryTest, TheSecondAttemptIsTheLastLoad)
{
    journal("a.journal", {begun(0, 1), finished(0, Verdict::failed, ModuleState::interrupted), begun(0, 2, 2),
                          finished(0)});
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 a.journal:6"));
    EXPECT_EQ(found.loads[0].record["verdict"], "configured");
}

TEST_F(HistoryTest, LinesOfOtherWritersAreReadAsWell)
{
    journal("a.journal", {begun(0, 1)});
    std::string text = content("a.journal");
    const std::string last = lines("a.journal").back();
    const Json other{{"module", "mwc4a:0/1"}, {"event", "finished"}, {"record", finished(0)["record"]}};
    text += kvn::seal_line(other, kvn::check_seal(last)->sha256).text;
    write("a.journal", text);
    EXPECT_THAT(places(history()), ElementsAre("line-3 mwc4a:0/1 a.journal:4"));
    EXPECT_FALSE(history().loads[0].record.is_null());
}

TEST_F(HistoryTest, BegunLinesOfOtherWritersAreReadAsWell)
{
    const Json event = begun(0, 5);
    journal(
        "a.journal",
        {Json{{"module", event["module"]}, {"event", "begun"}, {"attempt", 1}, {"at", event["at"]}},
         Json{{"event", "begun"}, {"module", "mwc4a:0/2"}, {"attempt", 1}, {"why", "x"}, {"at", event["at"]}},
         Json{{"event", "begun"}, {"module", "mwc4a:0/3"}, {"attempt", 1}, {"at", "later"}}});
    EXPECT_THAT(places(history()),
                ElementsAre("line-3 mwc4a:0/1 a.journal:3", "line-3 mwc4a:0/2 a.journal:4"));
    EXPECT_THAT(problems(history()), ElementsAre("a.journal: line 5: begun: at is no time"));
}

TEST_F(HistoryTest, JournalsAreFoundByContentUnderAnyName)
{
    journal("a.txt", {begun(0), finished(0)});
    write("rack.con", "design.bit mwc4a 0 0x01\n");
    write("empty", "");
    make_fifo(path("pipe.journal"));
    std::filesystem::create_directory(folder / "folder.journal");
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 a.txt:4"));
    EXPECT_EQ(found.journals, 1U);
    EXPECT_THAT(found.problems, IsEmpty());
}

TEST_F(HistoryTest, FilesNamedJournalThatAreNoneAreReported)
{
    journal("a.journal", {});
    std::string text = content("a.journal");
    text.front() = '[';
    write("a.journal", text);
    write("b.journal", "{\"kvn\":\"journal\"}\n");
    write("c.journal", "{\"kvn\":\"journal\"");
    EXPECT_THAT(problems(history()),
                ElementsAre("a.journal: it does not begin as a journal",
                            "b.journal: line 1: its bytes do not have the sum that it ends with",
                            "c.journal: line 1: it has no end"));
    EXPECT_EQ(history().journals, 0U);
}

TEST_F(HistoryTest, AJournalCountsUpToTheFirstChange)
{
    journal("a.journal", {begun(0, 1), finished(0), begun(1, 2), finished(1)});
    std::string text = content("a.journal");
    text[text.rfind("configured")] = 'C';
    write("a.journal", text);
    const History found = history();
    EXPECT_THAT(places(found), ElementsAre("line-3 mwc4a:0/1 a.journal:4", "line-3 mwc4a:0/2 a.journal:5"));
    EXPECT_THAT(problems(found),
                ElementsAre("a.journal: line 6: its bytes do not have the sum that it ends with"));
}

TEST_F(HistoryTest, LinesThatFitAndAreNoEventsAreReported)
{
    journal("a.journal", {begun(0), Json{{"event", "begun"}}, begun(1), finished(1)});
    EXPECT_THAT(problems(history()), ElementsAre("a.journal: line 4: begun has no member module"));
    EXPECT_THAT(places(history()), ElementsAre("line-3 mwc4a:0/1 a.journal:3"));
}

TEST_F(HistoryTest, ARecordThatIsNoneLeavesTheLoadBefore)
{
    journal("a.journal", {begun(0), finished(0), begun(0, 9, 2),
                          Json{{"event", "finished"}, {"module", "mwc4a:0/1"}, {"record", 7}}});
    EXPECT_THAT(problems(history()), ElementsAre("a.journal: line 6: finished: record is no object"));
    EXPECT_THAT(places(history()), ElementsAre("line-3 mwc4a:0/1 a.journal:4"));
}

TEST_F(HistoryTest, ATornLineIsNoProblem)
{
    journal("a.journal", {begun(0), finished(0)});
    std::string text = content("a.journal");
    text.resize(text.size() - 3);
    write("a.journal", text);
    const History found = history();
    EXPECT_THAT(problems(found), IsEmpty());
    EXPECT_TRUE(found.loads[0].record.is_null());
}

TEST_F(HistoryTest, FilesThatCannotBeReadAreReported)
{
    std::filesystem::create_symlink("none", folder / "a.journal");
    journal("b.journal", {});
    EXPECT_THAT(problems(history()), IsEmpty()) << "a link that leads nowhere is no file";
    std::filesystem::permissions(folder / "b.journal", std::filesystem::perms::none);
    const bool may_read_all = std::ifstream{folder / "b.journal"}.is_open();
    if (!may_read_all) {
        EXPECT_THAT(problems(history()),
                    ElementsAre("b.journal: " + path("b.journal") + ": Permission denied"));
    }
}

TEST_F(HistoryTest, AFolderThatIsMissingIsAnError)
{
    try {
        (void)kvn::read_history(path("none"));
        FAIL();
    } catch (const kvn::FailureError& error) {
        EXPECT_EQ(error.failure().status, kvn::ExitStatus::file);
        EXPECT_EQ(error.failure().what, path("none") + ": No such file or directory");
    }
}
} // namespace
