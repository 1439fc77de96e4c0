// SPDX-License-Identifier: Apache-2.0
// Which serial numbers a station asks for, what it takes for one, and how a session ends.
#include "run/station.h"

#include "run/event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace kvn
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

ModuleName slot(unsigned number)
{
    return {.board = {"mwc4a", 0}, .slot = number};
}

PlannedModule asked(unsigned number, const std::string& label = "")
{
    return {.label = label, .module = slot(number), .file = "design.bit", .asks_serial_number = true};
}

Plan plan_of(std::vector<PlannedModule> modules)
{
    return {.file = "rack.toml", .modules = std::move(modules), .findings = {}};
}

PlannedModule silent(unsigned number, const std::optional<std::string>& serial_number = {})
{
    return {.module = slot(number), .file = "design.bit", .serial_number = serial_number};
}

const Plan WITHOUT_QUESTIONS = plan_of({silent(1), silent(2, "0815")});

/// Why a line is not taken as the number of a unit; empty if it is.
std::string fault_of(const std::string& line)
{
    UnitNumbers numbers;
    return numbers.answer({}, line).value_or("");
}

PlanRunRequest request_of(const UnitNumbers& numbers, const Plan& plan)
{
    PlanRunRequest request;
    numbers.give_to(request, plan);
    return request;
}

TEST(UnitNumbers, OneIsAskedForByAPlanThatDemandsNone)
{
    UnitNumbers numbers;
    EXPECT_EQ(numbers.next(WITHOUT_QUESTIONS), SerialQuestion{});
    EXPECT_EQ(numbers.answer({}, "4711"), std::nullopt);
    EXPECT_EQ(numbers.next(WITHOUT_QUESTIONS), std::nullopt);
    EXPECT_THAT(numbers.all(), ElementsAre("4711"));
    EXPECT_EQ(request_of(numbers, WITHOUT_QUESTIONS).unit_serial_number, "4711");
    EXPECT_THAT(request_of(numbers, WITHOUT_QUESTIONS).serial_numbers, IsEmpty());
}

TEST(UnitNumbers, OneIsAskedForWhereThePlanCannotBeRead)
{
    EXPECT_EQ(UnitNumbers{}.next({}), SerialQuestion{});
}

TEST(UnitNumbers, EachModuleThatDemandsOneIsAskedForInTheOrderOfThePlan)
{
    const Plan plan = plan_of({asked(2, "left"), silent(3), asked(1)});
    UnitNumbers numbers;
    EXPECT_EQ(numbers.next(plan), (SerialQuestion{slot(2), "left"}));
    EXPECT_EQ(numbers.answer({slot(2)}, "b"), std::nullopt);
    EXPECT_EQ(numbers.next(plan), (SerialQuestion{slot(1), ""}));
    EXPECT_EQ(numbers.answer({slot(1)}, "a"), std::nullopt);
    EXPECT_EQ(numbers.next(plan), std::nullopt);
    EXPECT_THAT(numbers.all(), ElementsAre("b", "a"));
    EXPECT_THAT(request_of(numbers, plan).serial_numbers,
                ElementsAre(Pair("mwc4a:0/1", "a"), Pair("mwc4a:0/2", "b")));
    EXPECT_EQ(request_of(numbers, plan).unit_serial_number, std::nullopt);
}

TEST(UnitNumbers, FollowAPlanThatChangesBetweenTwoQuestions)
{
    UnitNumbers numbers;
    EXPECT_EQ(numbers.answer({slot(1)}, "a"), std::nullopt);
    const Plan changed = plan_of({asked(2)});
    EXPECT_EQ(numbers.next(changed), (SerialQuestion{slot(2), ""}));
    EXPECT_EQ(numbers.answer({slot(2)}, "b"), std::nullopt);
    EXPECT_THAT(request_of(numbers, changed).serial_numbers, ElementsAre(Pair("mwc4a:0/2", "b")));
}

TEST(UnitNumbers, OfTheUnitBeforeAreNotInTheRequestAnyMore)
{
    PlanRunRequest request;
    request.serial_numbers["mwc4a:0/4"] = "old";
    request.unit_serial_number = "old";
    UnitNumbers numbers;
    ASSERT_EQ(numbers.answer({slot(1)}, "new"), std::nullopt);
    numbers.give_to(request, plan_of({asked(1)}));
    EXPECT_THAT(request.serial_numbers, ElementsAre(Pair("mwc4a:0/1", "new")));
    EXPECT_EQ(request.unit_serial_number, std::nullopt);
}

TEST(UnitNumbers, AreTakenWithoutBlanksAndCarriageReturns)
{
    UnitNumbers numbers;
    EXPECT_EQ(numbers.answer({}, " \t SN 4711 \r"), std::nullopt);
    EXPECT_THAT(numbers.all(), ElementsAre("SN 4711"));
}

TEST(UnitNumbers, EmptyLinesAreNotTaken)
{
    for (const char* line : {"", "\r", " \t "})
        EXPECT_EQ(fault_of(line), "a serial number is needed, and the line was empty");
}

TEST(UnitNumbers, HaveAtMost128Bytes)
{
    EXPECT_EQ(fault_of(std::string(128, '7')), "");
    EXPECT_EQ(fault_of(std::string(129, '7')),
              "a serial number has at most 128 bytes, and the line has more");
    EXPECT_EQ(fault_of(std::string(128, '7') + "  \r"), "") << "what is cut off does not count";
}

TEST(UnitNumbers, HaveOnlyCharactersThatCanBeSeen)
{
    const std::string what =
        "a serial number has only characters that can be seen, in UTF-8, and the line has others";
    for (const std::string& line :
         {std::string{"47\x1B[2J"},
          std::string{"47\0"
                      "11",
                      5},
          std::string{"47\t11"}, std::string{"\x7F"}, std::string{"47\xFF"}, std::string{"\xC3"},
          std::string{"\xC2\x9B"}, std::string{"\xE2\x80\xAE"}})
        EXPECT_EQ(fault_of(line), what);
    EXPECT_EQ(fault_of("Gerät 47"), "");
}

TEST(UnitNumbers, AreNotTheSameForTwoModulesOfAUnit)
{
    UnitNumbers numbers;
    ASSERT_EQ(numbers.answer({slot(1)}, "4711"), std::nullopt);
    EXPECT_EQ(numbers.answer({slot(2)}, " 4711"),
              "the serial number 4711 was given for another module of this unit");
    EXPECT_EQ(numbers.next(plan_of({asked(1), asked(2)})), (SerialQuestion{slot(2), ""}));
    EXPECT_THAT(numbers.all(), ElementsAre("4711"));
}

PlanRunResult result_of(ExitStatus status, Verdict verdict)
{
    PlanRunResult result{.status = status, .counts = {}};
    result.counts.add(verdict);
    return result;
}

TEST(StationTally, OfNoUnitIsDone)
{
    EXPECT_EQ(StationTally{}.status(), ExitStatus::done);
    EXPECT_EQ(StationTally{}.units(), 0U);
}

TEST(StationTally, CountsUnitsAndTheirModules)
{
    StationTally tally;
    tally.add(result_of(ExitStatus::done, Verdict::configured));
    EXPECT_EQ(tally.status(), ExitStatus::done);
    tally.add(result_of(ExitStatus::refused, Verdict::refused));
    tally.add(result_of(ExitStatus::done, Verdict::configured));
    EXPECT_EQ(tally.units(), 3U);
    EXPECT_EQ(tally.passed(), 2U);
    EXPECT_EQ(tally.failed(), 1U);
    EXPECT_EQ(tally.modules().of(Verdict::configured), 2U);
    EXPECT_EQ(tally.modules().of(Verdict::refused), 1U);
}

TEST(StationTally, HasTheStatusOfTheFailuresIfAllHaveTheSame)
{
    StationTally tally;
    tally.add(result_of(ExitStatus::done, Verdict::configured));
    tally.add(result_of(ExitStatus::refused, Verdict::refused));
    tally.add(result_of(ExitStatus::refused, Verdict::refused));
    EXPECT_EQ(tally.status(), ExitStatus::refused);
    tally.add(result_of(ExitStatus::bus, Verdict::failed));
    EXPECT_EQ(tally.status(), ExitStatus::several);
    tally.add(result_of(ExitStatus::bus, Verdict::failed));
    EXPECT_EQ(tally.status(), ExitStatus::several);
}

TEST(StationEvents, AUnitHasWhatTheResultOfItsRunHas)
{
    PlanRunResult result = result_of(ExitStatus::done, Verdict::configured);
    result.journal = "rack.journal";
    EXPECT_EQ(event_line(unit_event(3, {"4711"}, result)),
              R"({"event":"unit","unit":3,"serial_number":"4711","passed":true,"status":0,)"
              R"("class":"all done, or nothing to do","counts":{"configured":1,"refused":0,"failed":0,)"
              R"("cancelled":0,"timed out":0,"not tried":0},"journal":"rack.journal","failure":null})"
              "\n");
}

TEST(StationEvents, AUnitWithSeveralNumbersHasNone)
{
    const Json event = unit_event(1, {"a", "b"}, result_of(ExitStatus::refused, Verdict::refused));
    EXPECT_EQ(event["serial_number"], nullptr);
    EXPECT_EQ(event["passed"], false);
    EXPECT_EQ(event["journal"], nullptr);
}

TEST(StationEvents, TheResultOfASessionCountsUnits)
{
    StationTally tally;
    tally.add(result_of(ExitStatus::done, Verdict::configured));
    tally.add(result_of(ExitStatus::refused, Verdict::refused));
    const Json event = session_result_event(ExitStatus::cancelled, tally);
    EXPECT_EQ(as_event(event).kind, EventKind::result);
    EXPECT_EQ(event["status"], 11);
    EXPECT_EQ(event["counts"]["configured"], 1);
    EXPECT_EQ(event["counts"]["refused"], 1);
    EXPECT_EQ(event["units"].dump(), R"({"passed":1,"failed":1})");
}
} // namespace
} // namespace kvn
