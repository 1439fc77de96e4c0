// SPDX-License-Identifier: Apache-2.0
#include "example_runs.h"
#include "report/module_json.h"
#include "report/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using example::configured;
using example::ExampleRun;
using example::failing;
using kvn::merge_journals;
using kvn::ModuleState;
using kvn::Report;
using kvn::ReportRow;
using kvn::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* MODULE = "mwc4a:0/2";

kvn::Record bus_failure(const std::string& module, std::int64_t begin)
{
    return failing(module, begin, begin + 100, Verdict::failed, ModuleState::interrupted,
                   {kvn::ExitStatus::bus, 9114, "the bus failed", "no power", "switch it on"});
}

std::vector<std::string> modules_of(const Report& report)
{
    std::vector<std::string> names;
    for (const ReportRow& row : report.rows)
        names.push_back(row.module);
    return names;
}

TEST(MergedReport, IsEmptyWithoutJournals)
{
    const Report report = merge_journals({});
    EXPECT_THAT(report.rows, IsEmpty());
    EXPECT_THAT(report.runs, IsEmpty());
    EXPECT_THAT(report.hosts(), IsEmpty());
    EXPECT_EQ(report.counts().all(), 0U);
}

TEST(MergedReport, HasTheFactsOfARecord)
{
    const Report report =
        merge_journals({ExampleRun{}.load(configured("mwc4a:0/1.2", 100, 2500), "dsp").content});
    ASSERT_EQ(report.rows.size(), 1U);
    const ReportRow& row = report.rows[0];
    EXPECT_EQ(row.host, "bench-7");
    EXPECT_EQ(row.module, "mwc4a:0/1.2");
    EXPECT_EQ(row.label, "dsp");
    EXPECT_EQ(row.bus, "mwc4a:0");
    EXPECT_EQ(row.board, "mwc4a:1");
    EXPECT_EQ(row.slot, 2U);
    EXPECT_EQ(row.attempts, 1U);
    EXPECT_EQ(row.verdict, Verdict::configured);
    EXPECT_EQ(row.state, ModuleState::configured);
    EXPECT_EQ(row.what, "");
    EXPECT_TRUE(row.simulated);
    EXPECT_EQ(text_fact(row, "device"), "2v3000fg676-4");
    EXPECT_THAT(report.runs[0].tools, ElementsAre("kvn 1.0.0"));
    EXPECT_THAT(report.runs[0].providers, ElementsAre("virtual"));
}

TEST(MergedReport, HasTheFailureOfARecord)
{
    const Report report = merge_journals({ExampleRun{}.load(bus_failure(MODULE, 0)).content});
    EXPECT_EQ(report.rows[0].what, "the bus failed");
    EXPECT_EQ(report.rows[0].why, "no power");
    EXPECT_EQ(report.rows[0].remedy, "switch it on");
}

TEST(MergedReport, TakesTheLastRecordAndAddsUpTheAttempts)
{
    kvn::Record twice = bus_failure(MODULE, 100);
    twice.attempts = 2;
    const auto first =
        ExampleRun{"1.journal"}.plan(MODULE).begin(MODULE, 1).begin(MODULE, 2, 2).finish(twice).content;
    const auto second = ExampleRun{"2.journal", 60'000}.load(configured(MODULE, 60'100, 62'000)).content;
    const Report report = merge_journals({second, first}); // by begin, not by the order of the arguments
    ASSERT_EQ(report.rows.size(), 1U);
    EXPECT_EQ(report.rows[0].verdict, Verdict::configured);
    EXPECT_EQ(report.rows[0].attempts, 3U);
    EXPECT_EQ(report.rows[0].run, 1U);
    EXPECT_EQ(report.runs[1].journal, "2.journal");
}

TEST(MergedReport, CallsAModuleThatIsOnlyPlannedNotTried)
{
    const Report report = merge_journals({ExampleRun{}.plan(MODULE, "dsp").content});
    EXPECT_EQ(report.rows[0].verdict, Verdict::not_tried);
    EXPECT_EQ(report.rows[0].state, ModuleState::untouched);
    EXPECT_EQ(report.rows[0].attempts, 0U);
    EXPECT_EQ(report.rows[0].what, "the module is in the plan, but its load was never begun");
    EXPECT_EQ(report.rows[0].remedy, "load it; a run that continues this journal does");
    EXPECT_EQ(text_fact(report.rows[0], "file"), "design.bit"); // the plan's
    EXPECT_TRUE(report.rows[0].simulated);
}

TEST(MergedReport, KeepsARecordOverAPlanThatWasNotCarriedOut)
{
    const auto first = ExampleRun{"1.journal"}.load(configured(MODULE, 1, 2)).content;
    const auto second = ExampleRun{"2.journal", 1000}.plan(MODULE).content;
    const Report report = merge_journals({first, second});
    EXPECT_EQ(report.rows[0].verdict, Verdict::configured);
    EXPECT_EQ(report.rows[0].run, 0U);
}

TEST(MergedReport, CallsALoadWithoutAnEndFailedAndTheModuleInterrupted)
{
    auto journal = ExampleRun{}.plan(MODULE).begin(MODULE, 500).content;
    ReportRow row = merge_journals({journal}).rows[0];
    EXPECT_EQ(row.verdict, Verdict::failed);
    EXPECT_EQ(row.state, ModuleState::interrupted);
    EXPECT_EQ(row.attempts, 1U);
    EXPECT_EQ(row.what, "the journal ends while the module was being loaded");
    EXPECT_EQ(row.why, "the run was killed");
    EXPECT_TRUE(row.record.is_null());

    journal.is_being_written = true;
    EXPECT_EQ(merge_journals({journal}).rows[0].why, "the run goes on");
}

TEST(MergedReport, ForgetsTheRecordBeforeALoadWithoutAnEnd)
{
    const auto journal = ExampleRun{}.load(configured(MODULE, 1, 2)).begin(MODULE, 500, 2).content;
    const Report report = merge_journals({journal});
    EXPECT_EQ(report.rows[0].state, ModuleState::interrupted);
    EXPECT_TRUE(report.rows[0].record.is_null());
    EXPECT_EQ(report.rows[0].attempts, 2U);
}

TEST(MergedReport, TakesAKeptRecordOnlyWhereItsOwnRunIsMissing)
{
    kvn::Record record = configured(MODULE, 1, 2);
    record.attempts = 2;
    auto second = ExampleRun{"2.journal", 1000}.plan(MODULE);
    second.content.events.push_back(kvn::kept_event(to_json(record)));
    EXPECT_EQ(merge_journals({second.content}).rows[0].verdict, Verdict::configured);
    EXPECT_EQ(merge_journals({second.content}).rows[0].attempts, 2U);

    const auto first = ExampleRun{"1.journal"}.load(record).content;
    const Report report = merge_journals({first, second.content});
    EXPECT_EQ(report.rows[0].attempts, 2U);
    EXPECT_EQ(report.rows[0].run, 0U);
}

TEST(MergedReport, CountsACopyOfAJournalOnce)
{
    const auto whole =
        ExampleRun{"b.journal"}.load(configured(MODULE, 1, 2)).end(kvn::ExitStatus::done).content;
    auto older = ExampleRun{"a.journal"}.plan(MODULE).content;
    older.lines = 2;
    const Report report = merge_journals({whole, older, whole});
    ASSERT_EQ(report.runs.size(), 1U);
    EXPECT_EQ(report.runs[0].journal, "b.journal");
    EXPECT_EQ(report.rows[0].attempts, 1U);
}

TEST(MergedReport, TellsModulesOfDifferentHostsApart)
{
    ExampleRun other{"8.journal", 500};
    other.content.header.host = "bench-8";
    const Report report = merge_journals(
        {ExampleRun{}.load(configured(MODULE, 1, 2)).content, other.load(bus_failure(MODULE, 600)).content});
    EXPECT_THAT(report.hosts(), ElementsAre("bench-7", "bench-8"));
    EXPECT_EQ(report.rows[0].verdict, Verdict::configured);
    EXPECT_EQ(report.rows[1].verdict, Verdict::failed);
    EXPECT_EQ(report.counts().of(Verdict::configured), 1U);
}

TEST(MergedReport, OrdersModulesByTheValueOfTheirNumbers)
{
    const Report report = merge_journals({ExampleRun{}
                                              .plan("mwc4a:10/1")
                                              .plan("mwc4a:2/4")
                                              .plan("mwc4a:2/3.1")
                                              .plan("mwc4a:2/1")
                                              .plan("aa:11/1")
                                              .content});
    EXPECT_THAT(modules_of(report),
                ElementsAre("aa:11/1", "mwc4a:2/1", "mwc4a:2/4", "mwc4a:2/3.1", "mwc4a:10/1"));
}

TEST(MergedReport, KeepsWhatIsNoModulesName)
{
    ExampleRun run;
    run.plan(MODULE);
    run.content.planned[0]["module"] = "../../etc";
    const Report report = merge_journals({run.content});
    EXPECT_EQ(report.rows[0].module, "../../etc");
    EXPECT_EQ(report.rows[0].board, "");
    EXPECT_EQ(report.rows[0].slot, 0U);
}

TEST(MergedReport, TakesWhatHasAnotherTypeForMissing)
{
    ExampleRun run;
    run.content.planned =
        kvn::Json::parse(R"([7, {"module": 7}, {"module": "mwc4a:0/2", "label": [], "file": {}}])");
    run.content.events = {kvn::Json::parse(R"({"event": "finished", "module": "mwc4a:0/2", "record": [1]})"),
                          kvn::Json::parse(R"({"event": 4})"), kvn::Json::parse("[]"),
                          kvn::Json::parse(R"({"event": "result", "status": "0"})")};
    const Report report = merge_journals({run.content});
    ASSERT_EQ(report.rows.size(), 1U);
    EXPECT_EQ(report.rows[0].verdict, Verdict::failed);
    EXPECT_EQ(report.rows[0].state, ModuleState::unknown);
    EXPECT_FALSE(report.runs[0].status.has_value());
    EXPECT_THAT(report.files, IsEmpty());
}

TEST(MergedReport, SaysWhatOfAJournalIsNotInIt)
{
    auto journal = ExampleRun{}.plan(MODULE).content;
    journal.damage = {7, "its sum does not fit"};
    journal.torn_bytes = 3;
    const Report report = merge_journals({journal});
    EXPECT_TRUE(report.runs[0].is_damaged);
    EXPECT_THAT(report.runs[0].doubts,
                ElementsAre("line 7: its sum does not fit; nothing from there on is in this report",
                            "the last line has no end, and is not in this report"));
}

TEST(MergedReport, HasASpanForEachLoadOnItsBus)
{
    const auto journal = ExampleRun{}
                             .load(configured("mwc4a:0/1", 100, 900))
                             .load(configured("mwc4a:0/1.2", 1000, 2000))
                             .load(configured("mwc4a:1/1", 150, 950))
                             .begin("mwc4a:1/2", 1100)
                             .content;
    const Report report = merge_journals({journal});
    ASSERT_EQ(report.runs[0].buses.size(), 2U);
    EXPECT_EQ(report.runs[0].buses[0].name, "mwc4a:0");
    EXPECT_EQ(report.runs[0].buses[0].spans.size(), 2U);
    const auto& open = report.runs[0].buses[1].spans.at(1); // to the last moment that is known
    EXPECT_EQ(open.module, "mwc4a:1/2");
    EXPECT_EQ(open.end - open.begin, 900);
    EXPECT_EQ(open.verdict, Verdict::failed);
}

TEST(MergedReport, ListsEachFileOnce)
{
    kvn::Record other = configured("mwc4a:0/3", 5, 6);
    other.file->value = "other.bit";
    const Report report = merge_journals({ExampleRun{}
                                              .load(other)
                                              .load(configured("mwc4a:0/1", 1, 2))
                                              .load(configured("mwc4a:0/2", 3, 4))
                                              .content});
    ASSERT_EQ(report.files.size(), 2U);
    EXPECT_EQ(report.files[0].name, "design.bit");
    EXPECT_EQ(report.files[0].modules, 2U);
    EXPECT_EQ(report.files[0].design, "example.ncd");
    EXPECT_THAT(report.file_of_row, ElementsAre(0U, 0U, 1U));
}

} // namespace
