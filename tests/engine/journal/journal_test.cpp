// SPDX-License-Identifier: Apache-2.0
// What a journal holds on the disk after each call, and what is left of it when a call fails.
#include "journal_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <utility>

namespace
{
using kvn::ExitStatus;
using kvn::Failure;
using kvn::Journal;
using kvn::Json;
using testing::EndsWith;

TEST_F(JournalTest, BeginsWithHeaderAndPlan)
{
    const Journal journal = begin();
    const std::vector<std::string> all = lines("rack.journal");
    ASSERT_EQ(all.size(), 2U);
    Json header = Json::parse(all[0]);
    EXPECT_EQ(header["sum"], sha256_of(all[0].substr(0, all[0].find(",\"sum\""))));
    header.erase("sum");
    EXPECT_EQ(header, (Json{{"kvn", "journal"},
                            {"version", "1.0"},
                            {"tool", "kvn 1.0.0"},
                            {"at", "2026-11-22T03:44:37.125Z"},
                            {"host", "line-3"},
                            {"boot_id", journals::BOOT},
                            {"operator_name", "operator 7"},
                            {"station", "station 2"},
                            {"plan", "rack.con"},
                            {"plan_sha256", std::string(64, 'b')},
                            {"provider", to_json(journals::provider())},
                            {"continues", nullptr},
                            {"previous", nullptr}}));
    Json planned = Json::parse(all[1]);
    EXPECT_EQ(planned["previous"], sha256_of(all[0]));
    planned.erase("previous");
    planned.erase("sum");
    EXPECT_EQ(planned, journals::planned(2));
}

TEST_F(JournalTest, AFileThatExistsIsKept)
{
    write("rack.journal", "precious\n");
    const auto failure = failure_of([&] { (void)begin(); });
    EXPECT_EQ(failure, (Failure{ExitStatus::file, 0, file() + " exists already, and is kept", "",
                                "name another file by --journal"}));
    EXPECT_EQ(content("rack.journal"), "precious\n");
}

TEST_F(JournalTest, AFolderThatIsMissingIsReported)
{
    const std::string missing = path("none/rack.journal");
    const auto failure = failure_of([&] {
        const Journal journal{missing, journals::header(), journals::planned(1)};
    });
    EXPECT_EQ(
        failure,
        (Failure{
            ExitStatus::file, 0, "cannot write the journal " + missing + ": No such file or directory", "",
            "see that its folder exists, may be written and has room, or name another file by --journal (kvn "
            "station: another folder by --journals)"}));
}

TEST_F(JournalTest, AContinuedJournalIsTheLineBeforeTheHeader)
{
    kvn::JournalHeader header = journals::header();
    header.continues = {"old.journal", std::string(64, 'a')};
    const Journal journal{file(), header, journals::planned(1)};
    const Json line = Json::parse(lines("rack.journal").front());
    EXPECT_EQ(line["continues"], "old.journal");
    EXPECT_EQ(line["previous"], std::string(64, 'a'));
    EXPECT_EQ(kvn::read_journal(file()).header, header);
}

TEST_F(JournalTest, ALineThatNoReaderWouldTakeIsRefused)
{
    Journal journal = begin();
    Json long_event = journals::begun(0);
    long_event["text"] = std::string(kvn::LONGEST_EVENT_LINE, 'x');
    const auto failure = failure_of([&] { journal.append(long_event); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->what,
              "cannot write the journal " + file() + ": a line of it would be longer than 16 MiB");
    EXPECT_EQ(kvn::read_journal(file()).lines, 2U);
}

TEST_F(JournalTest, BytesThatAreNoUtf8DoNotSpoilALine)
{
    Journal journal = begin();
    journal.append(kvn::problem_event(kvn::Severity::note, "rack.con:3", "a\xFF\nb", ""));
    EXPECT_EQ(kvn::read_journal(file()).events.back()["what"], "a\uFFFD\nb");
}

TEST_F(JournalTest, OthersSeeThatItIsBeingWritten)
{
    {
        Journal journal = begin();
        EXPECT_TRUE(kvn::inspect_journal(file()).is_being_written);
        const Journal moved = std::move(journal);
        EXPECT_TRUE(kvn::inspect_journal(file()).is_being_written);
    }
    EXPECT_FALSE(kvn::inspect_journal(file()).is_being_written);
}

TEST_F(JournalTest, HasANameBesideItsPlan)
{
    EXPECT_EQ(kvn::journal_name("racks/rack.con", journals::moment()),
              "racks/rack.con.2026-11-22T03-44-37Z.journal");
    EXPECT_EQ(kvn::journal_name("rack.toml", journals::moment(), 2),
              "rack.toml.2026-11-22T03-44-37Z-2.journal");
}

TEST_F(JournalTest, TwoRunsInOneSecondHaveTwoJournals)
{
    kvn::JournalHeader header = journals::header();
    header.plan = path("rack.con");
    const Journal first = Journal::beside_plan(header, journals::planned(1));
    const Journal second = Journal::beside_plan(header, journals::planned(1));
    const Journal third = Journal::beside_plan(header, journals::planned(1));
    EXPECT_EQ(first.path(), path("rack.con.2026-11-22T03-44-37Z.journal"));
    EXPECT_EQ(second.path(), path("rack.con.2026-11-22T03-44-37Z-2.journal"));
    EXPECT_EQ(third.path(), path("rack.con.2026-11-22T03-44-37Z-3.journal"));
    EXPECT_EQ(kvn::read_journal(second.path()).lines, 2U);
}

TEST_F(JournalTest, AFolderOfItsOwnTakesThePlaceOfThePlans)
{
    std::filesystem::create_directory(path("journals"));
    kvn::JournalHeader header = journals::header();
    header.plan = path("none/rack.con");
    const auto begin = [&] {
        return Journal::beside_plan(header, journals::planned(1), {}, path("journals"));
    };
    const Journal first = begin();
    const Journal second = begin();
    EXPECT_EQ(first.path(), (folder / "journals" / "rack.con.2026-11-22T03-44-37Z.journal").string());
    EXPECT_EQ(second.path(), (folder / "journals" / "rack.con.2026-11-22T03-44-37Z-2.journal").string());
}

TEST_F(JournalTest, NoPlaceBesideThePlanIsReported)
{
    kvn::JournalHeader header = journals::header();
    header.plan = path("none/rack.con");
    const auto failure = failure_of([&] { (void)Journal::beside_plan(header, journals::planned(1)); });
    ASSERT_TRUE(failure);
    EXPECT_THAT(failure->what, EndsWith("rack.con.2026-11-22T03-44-37Z.journal: No such file or directory"));
}
} // namespace
