// SPDX-License-Identifier: Apache-2.0
// Which modules a run that goes on loads, and when it must not go on.
#include "run/resume.h"

#include "support/folder_test.h"
#include "support/journals.h"

#include <gmock/gmock.h>

#include <functional>

namespace
{
using journals::begun;
using journals::finished;
using kvn::ExitStatus;
using kvn::JournalContent;
using kvn::Json;
using kvn::ModuleState;
using kvn::ResumeRequest;
using kvn::Resumption;
using kvn::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

/// The journal of a run of four modules, which was killed during the third; and the same plan again.
class Resume : public testing::Test
{
protected:
    Resume()
    {
        journal.file = "rack.journal";
        journal.header = journals::header();
        journal.planned = journals::planned(4)["modules"];
        journal.events = {begun(0, 1), finished(0, Verdict::configured, ModuleState::configured, 1),
                          begun(1, 3), finished(1, Verdict::refused, ModuleState::refused), begun(2, 5)};
        journal.head = std::string(64, 'a');
        request.planned = journal.planned;
        request.plan_sha256 = journal.header.plan_sha256;
        request.host = "line-3";
        request.boot_id = journals::BOOT;
        request.provider = journal.header.provider;
    }

    [[nodiscard]] Resumption resumed() const { return kvn::resume(journal, request); }

    [[nodiscard]] static std::vector<std::string> names(const std::vector<kvn::KeptModule>& kept)
    {
        std::vector<std::string> all;
        for (const kvn::KeptModule& each : kept)
            all.push_back(each.module);
        return all;
    }

    /// The run is refused for this reason; told to go on, it loads these modules.
    void expect_change(const std::string& change, const std::vector<std::string>& remaining)
    {
        const Resumption refused = resumed();
        EXPECT_THAT(refused.changes, ElementsAre(change));
        ASSERT_TRUE(refused.refusal);
        EXPECT_EQ(
            *refused.refusal,
            (kvn::Failure{ExitStatus::rehearsal, 0, "the run of rack.journal cannot go on: " + change, "",
                          "load everything by a run without --resume, or keep what has not changed by "
                          "--resume-anyway"}));
        request.despite_changes = true;
        const Resumption told = resumed();
        EXPECT_EQ(told.refusal, std::nullopt);
        EXPECT_THAT(told.changes, ElementsAre(change)) << "it is still told";
        EXPECT_EQ(told.remaining, remaining);
    }

    const std::vector<std::string> rest{"mwc4a:0/2", "mwc4a:0/3", "mwc4a:0/4"};
    const std::vector<std::string> all{"mwc4a:0/1", "mwc4a:0/2", "mwc4a:0/3", "mwc4a:0/4"};
    JournalContent journal;
    ResumeRequest request;
};

TEST_F(Resume, LoadsExactlyWhatIsMissing)
{
    const Resumption result = resumed();
    EXPECT_EQ(result.refusal, std::nullopt);
    EXPECT_EQ(result.remaining, rest);
    ASSERT_EQ(result.kept.size(), 1U);
    EXPECT_EQ(result.kept[0].module, "mwc4a:0/1");
    EXPECT_EQ(result.kept[0].record, journal.events[1]["record"]);
    EXPECT_EQ(result.kept[0].why,
              "configured at 2026-11-22T03:44:39.125Z from design.bit, as rack.journal says");
    EXPECT_THAT(result.changes, IsEmpty());
    EXPECT_THAT(result.notes, IsEmpty());
    EXPECT_EQ(result.continues, (kvn::ContinuedJournal{"rack.journal", std::string(64, 'a')}));
}

TEST_F(Resume, NothingRemainsOfARunThatConfiguredAll)
{
    journal.events = {begun(0), finished(0), begun(1), finished(1),
                      begun(2), finished(2), begun(3), finished(3)};
    const Resumption result = resumed();
    EXPECT_THAT(result.remaining, IsEmpty());
    EXPECT_EQ(names(result.kept), all);
}

TEST_F(Resume, EveryStateButConfiguredIsMissing)
{
    for (const ModuleState state :
         {ModuleState::untouched, ModuleState::interrupted, ModuleState::refused, ModuleState::unknown}) {
        journal.events = {begun(0), finished(0, Verdict::failed, state)};
        EXPECT_EQ(resumed().remaining, all) << name_of(state);
    }
    journal.events = {begun(0), finished(0), begun(0, 9, 2)};
    EXPECT_EQ(resumed().remaining, all) << "begun once more and not finished";
}

TEST_F(Resume, WhatARunBeforeHasKeptStaysKept)
{
    journal.events = {kvn::kept_event(finished(3)["record"]), begun(0), finished(0)};
    EXPECT_EQ(names(resumed().kept), (std::vector<std::string>{"mwc4a:0/1", "mwc4a:0/4"}));
}

TEST_F(Resume, BeginsAgainAfterAnotherBoot)
{
    request.boot_id = "another";
    const Resumption result = resumed();
    EXPECT_EQ(result.refusal, std::nullopt);
    EXPECT_EQ(result.remaining, all);
    EXPECT_THAT(result.kept, IsEmpty());
    EXPECT_THAT(result.notes,
                ElementsAre("the host has started again since the journal was begun: modules may have "
                            "lost their configurations with the power, and all are loaded again"));
}

TEST_F(Resume, BeginsAgainWhenTheBootIsNotKnown)
{
    const char* const note =
        "it is not known whether the host has started again since the journal was begun: all "
        "modules are loaded again";
    request.boot_id = std::nullopt;
    EXPECT_THAT(resumed().notes, ElementsAre(note));
    EXPECT_EQ(resumed().remaining, all);
    journal.header.boot_id = std::nullopt;
    EXPECT_THAT(resumed().notes, ElementsAre(note));
    EXPECT_EQ(resumed().remaining, all);
}

TEST_F(Resume, IsRefusedWhenThePlanHasChanged)
{
    request.plan_sha256 = std::string(64, 'c');
    expect_change("the plan rack.con has changed", rest);
}

TEST_F(Resume, IsRefusedWhenAFileHasChanged)
{
    request.planned[0]["file_sha256"] = std::string(64, '1');
    expect_change("mwc4a:0/1: the file design.bit has the SHA-256 " + std::string(64, '1') + ", and had " +
                      std::string(64, 'f'),
                  all);
}

TEST_F(Resume, IsRefusedWhenAConfigurationHasChanged)
{
    request.planned[0]["digest"] = nullptr;
    expect_change("mwc4a:0/1: the configuration has the digest unknown, and had " + std::string(64, 'd'),
                  all);
}

TEST_F(Resume, IsRefusedWhenADeviceHasChanged)
{
    request.planned[1]["device"] = "v300pq240-5";
    expect_change("mwc4a:0/2: the module has the device v300pq240-5, and had 2v3000fg676-4", rest);
}

TEST_F(Resume, IsRefusedWhenAModeHasChanged)
{
    request.planned[0]["mode"] = "plain";
    expect_change("mwc4a:0/1: the load has the mode plain, and had compressed", all);
}

TEST_F(Resume, IsRefusedWhenAModuleWasAdded)
{
    request.planned.push_back(journals::planned(5)["modules"][4]);
    std::vector<std::string> remaining = rest;
    remaining.emplace_back("mwc4a:1/1");
    expect_change("mwc4a:1/1 was not planned", remaining);
}

TEST_F(Resume, IsRefusedWhenAModuleWasRemoved)
{
    request.planned.erase(2);
    expect_change("mwc4a:0/3 is no longer planned", {"mwc4a:0/2", "mwc4a:0/4"});
}

TEST_F(Resume, AModuleThatWasLoadedWithoutAPlanIsLoadedAgain)
{
    journal.events.push_back(begun(4));
    journal.events.push_back(finished(4));
    request.planned.push_back(journals::planned(5)["modules"][4]);
    journal.planned.erase(0);
    request.planned.erase(0);
    const Resumption result = resumed();
    EXPECT_THAT(result.changes, ElementsAre("mwc4a:1/1 was not planned"));
}

TEST_F(Resume, IsRefusedOnAnotherHost)
{
    request.host = "line-4";
    request.boot_id = "another";
    expect_change("the journal is of the host line-3, and this is line-4", all);
    EXPECT_THAT(resumed().notes, IsEmpty()) << "the boot of another host says nothing";
}

TEST_F(Resume, IsRefusedWithAnotherProvider)
{
    request.provider = {{"name", "mwapi"}, {"file", "libmwapi.so"}, {"simulated", false}};
    expect_change("the journal is of the provider libmwvirtual.so, and this is libmwapi.so", all);
}

TEST_F(Resume, IsRefusedWhenOnlyTheSimulationDiffers)
{
    request.provider["file"] = nullptr;
    journal.header.provider["file"] = nullptr;
    request.provider["simulated"] = false;
    expect_change("the journal is of the provider virtual, and this is virtual", all);
}

TEST_F(Resume, TellsOneOfSeveralChangesAndCountsTheOthers)
{
    request.plan_sha256 = "";
    request.planned[0]["mode"] = "plain";
    EXPECT_EQ(resumed().refusal->what,
              "the run of rack.journal cannot go on: the plan rack.con has changed (and 1 change more)");
    request.planned[1]["mode"] = "plain";
    EXPECT_EQ(resumed().refusal->what,
              "the run of rack.journal cannot go on: the plan rack.con has changed (and 2 changes more)");
}

TEST_F(Resume, ARecordOfAnotherFileDoesNotCount)
{
    journal.events[1]["record"]["file_sha256"] = std::string(64, '2');
    EXPECT_EQ(resumed().remaining, all);
    journal.events[1]["record"]["file_sha256"] = nullptr;
    journal.planned[0]["file_sha256"] = nullptr;
    request.planned[0]["file_sha256"] = nullptr;
    EXPECT_EQ(resumed().remaining, all) << "two files that are not known are not the same file";
    EXPECT_THAT(resumed().changes, IsEmpty());
}

TEST_F(Resume, IsRefusedWhileTheRunGoesOn)
{
    journal.is_being_written = true;
    request.despite_changes = true;
    EXPECT_EQ(resumed().refusal,
              (kvn::Failure{ExitStatus::rehearsal, 0,
                            "the run of rack.journal cannot go on: its run goes on in another process", "",
                            "wait for its end"}));
}

TEST_F(Resume, IsRefusedWhenTheJournalWasChanged)
{
    journal.damage = {7, "it is wrong"};
    request.despite_changes = true;
    EXPECT_EQ(resumed().refusal,
              (kvn::Failure{ExitStatus::damaged, 0, "rack.journal was changed: line 7: it is wrong", "",
                            "use an unchanged copy of the journal"}));
}

TEST_F(Resume, TellsATornLine)
{
    journal.torn_bytes = 12;
    EXPECT_THAT(
        resumed().notes,
        ElementsAre("the last line of rack.journal was cut off while it was written, and does not count"));
    EXPECT_EQ(resumed().remaining, rest);
}

TEST_F(Resume, GoesOnFromARealJournal)
{
    const TemporaryFolder folder;
    const std::string first = (folder.path() / "first.journal").string();
    const std::string second = (folder.path() / "second.journal").string();
    {
        kvn::Journal written{first, journals::header(), journals::planned(4)};
        for (const Json& event : journal.events)
            written.append(event);
    }
    const Resumption result = kvn::resume(kvn::read_journal(first), request);
    EXPECT_EQ(result.remaining, rest);
    {
        kvn::JournalHeader header = journals::header();
        header.continues = result.continues;
        std::vector<Json> kept;
        for (const kvn::KeptModule& each : result.kept)
            kept.push_back(kvn::kept_event(each.record));
        kvn::Journal written{second, header, journals::planned(4), kept};
        written.append(begun(1));
        written.append(finished(1));
    }
    const Resumption again = kvn::resume(kvn::read_journal(second), request);
    EXPECT_EQ(names(again.kept), (std::vector<std::string>{"mwc4a:0/1", "mwc4a:0/2"}));
    EXPECT_EQ(again.remaining, (std::vector<std::string>{"mwc4a:0/3", "mwc4a:0/4"}));
    EXPECT_EQ(kvn::read_journal(second).header.continues->head, kvn::read_journal(first).head);
}
} // namespace
