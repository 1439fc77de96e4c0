// SPDX-License-Identifier: Apache-2.0
// Records of modules that no worker can speak for, and the status of a run.
#include "run/outcome.h"

#include "report/module_json.h"

#include <gtest/gtest.h>

namespace kvn
{
namespace
{

class Outcome : public testing::Test
{
protected:
    const Input file = Input::from_bytes({}, "design.bit");
    const ModuleLoad load{.module = {.board = {"mwc4a", 0}, .slot = 1},
                          .file = &file,
                          .judged = {.device = "2v40cs144-4", .wire_bytes = 4711},
                          .serial_number = "0815"};
    const RunFacts facts{
        .provider = {.name = "virtual", .simulated = true}, .operator_name = "Pat", .station = "7"};

    [[nodiscard]] std::string lost_as(const LostLoad& seen, ExitStatus status) const
    {
        const Record record = lost(load, facts, seen, {.status = status, .what = "w"});
        return std::string{name_of(record.verdict)} + ", " + std::string{name_of(record.state)};
    }
    static Json record_with(Verdict verdict, ExitStatus status)
    {
        Record record;
        record.verdict = verdict;
        if (status != ExitStatus::done)
            record.failure = Failure{.status = status};
        return to_json(record);
    }
};

TEST_F(Outcome, AModuleThatWasNotTriedHasAllThatIsKnown)
{
    const Record record = not_tried(load, facts, {.status = ExitStatus::bus, .what = "w"});
    EXPECT_EQ(record.verdict, Verdict::not_tried);
    EXPECT_EQ(record.state, ModuleState::untouched);
    EXPECT_EQ(record.attempts, 0U);
    EXPECT_EQ(record.device->value, "2v40cs144-4");
    EXPECT_EQ(record.wire_bytes->source, Source::intended);
    EXPECT_EQ(record.serial_number->value, "0815");
    EXPECT_EQ(record.operator_name->value, "Pat");
    EXPECT_EQ(record.station->value, "7");
    EXPECT_TRUE(record.provider.simulated);
}

TEST_F(Outcome, TheFormOfAFileIsToldWhereItIsKnown)
{
    EXPECT_EQ(not_tried(load, facts, {}).format, std::nullopt);
    ModuleLoad known = load;
    known.judged.format = Format::bit;
    EXPECT_EQ(not_tried(known, facts, {}).format->value, "BIT");
}

TEST_F(Outcome, TheStateOfALostLoadFollowsFromWhatWasSeen)
{
    EXPECT_EQ(lost_as({}, ExitStatus::bus), "not tried, untouched");
    EXPECT_EQ(lost_as({.was_begun = true}, ExitStatus::bus), "failed, unknown");
    EXPECT_EQ(lost_as({.was_begun = true, .bytes = 8}, ExitStatus::bus), "failed, interrupted");
    EXPECT_EQ(lost_as({.was_begun = true, .bytes = 8, .may_have_ended = true}, ExitStatus::bus),
              "failed, unknown");
}

TEST_F(Outcome, ALoadThatHungIsUnknownOnceItWasBegun)
{
    EXPECT_EQ(lost_as({}, ExitStatus::timed_out), "timed out, untouched");
    EXPECT_EQ(lost_as({.was_begun = true, .bytes = 8}, ExitStatus::timed_out), "timed out, unknown");
}

TEST_F(Outcome, ALoadThatWasCutOffIsCancelled)
{
    EXPECT_EQ(lost_as({.was_begun = true, .bytes = 8}, ExitStatus::cancelled), "cancelled, interrupted");
}

TEST_F(Outcome, ALostLoadDoesNotSayHowManyBytesItSent)
{
    const Record record = lost(load, facts, {.was_begun = true, .bytes = 8}, {.status = ExitStatus::bus});
    EXPECT_EQ(record.wire_bytes, std::nullopt);
    EXPECT_EQ(record.attempts, 1U);
    EXPECT_EQ(record.mode->source, Source::observed);
}

TEST_F(Outcome, AnAttemptThatSentNothingLeavesWhatAnEarlierOneHasLeft)
{
    Record first;
    first.verdict = Verdict::failed;
    first.state = ModuleState::interrupted;
    first.mode = Fact<LoadKind>{LoadKind::plain, Source::observed};
    first.wire_bytes = Fact<std::uint64_t>{100, Source::observed};
    const Json earlier = to_json(first);
    const Json record =
        after_attempts(to_json(not_tried(load, facts, {.status = ExitStatus::bus, .what = "w"})), earlier);
    EXPECT_EQ(record["verdict"], "failed");
    EXPECT_EQ(record["state"], "interrupted");
    EXPECT_EQ(record["wire_bytes"], 100);
    EXPECT_EQ(record["sources"]["wire_bytes"], "observed");
    EXPECT_EQ(record["failure"]["what"], "w");
    EXPECT_EQ(record["serial_number"], "0815");
}

TEST_F(Outcome, AnAttemptThatSentSomethingIsWhatCounts)
{
    Record first;
    first.verdict = Verdict::failed;
    first.state = ModuleState::interrupted;
    Record last = first;
    last.state = ModuleState::refused;
    last.verdict = Verdict::refused;
    EXPECT_EQ(after_attempts(to_json(last), to_json(first)), to_json(last));
    EXPECT_EQ(after_attempts(to_json(Record{}), to_json(Record{})), to_json(Record{}));
}

TEST_F(Outcome, ARunWithoutRecordsIsDone)
{
    EXPECT_EQ(RunStatus{}.status(), ExitStatus::done);
}

TEST_F(Outcome, TheStatusOfARunIsThatOfAllRecordsOrSeveral)
{
    RunStatus status;
    status.add(record_with(Verdict::refused, ExitStatus::refused));
    EXPECT_EQ(status.status(), ExitStatus::refused);
    status.add(record_with(Verdict::refused, ExitStatus::refused));
    EXPECT_EQ(status.status(), ExitStatus::refused);
    status.add(record_with(Verdict::configured, ExitStatus::done));
    EXPECT_EQ(status.status(), ExitStatus::several);
    EXPECT_EQ(status.counts().of(Verdict::refused), 2U);
    EXPECT_EQ(status.counts().of(Verdict::configured), 1U);
}

} // namespace
} // namespace kvn
