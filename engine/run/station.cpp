// SPDX-License-Identifier: Apache-2.0
// One unit after the other by the same plan: which serial numbers are asked for, what can be one, and how a
// session of units ends.
#include "run/station.h"

#include "report/json.h"
#include "report/visible_text.h"
#include "run/event.h"

#include <algorithm>

namespace kvn
{
namespace
{

std::string_view without_blanks(std::string_view line)
{
    constexpr std::string_view BLANKS = " \t\r";
    const std::size_t begin = std::min(line.find_first_not_of(BLANKS), line.size());
    return line.substr(begin, line.find_last_not_of(BLANKS) + 1 - begin);
}

std::optional<std::string> fault_of(std::string_view number)
{
    if (number.empty())
        return "a serial number is needed, and the line was empty";
    if (number.size() > LONGEST_SERIAL_NUMBER)
        return "a serial number has at most " + std::to_string(LONGEST_SERIAL_NUMBER) +
               " bytes, and the line has more";
    if (visible_text(number) != number)
        return "a serial number has only characters that can be seen, in UTF-8, and the line has others";
    return std::nullopt;
}

bool asks_for_modules(const Plan& plan)
{
    return std::ranges::any_of(plan.modules, &PlannedModule::asks_serial_number);
}

} // namespace

std::optional<SerialQuestion> UnitNumbers::next(const Plan& plan) const
{
    if (!asks_for_modules(plan))
        return unit_ ? std::nullopt : std::optional{SerialQuestion{}};
    for (const PlannedModule& each : plan.modules)
        if (each.asks_serial_number && !modules_.contains(to_text(each.module)))
            return SerialQuestion{.module = each.module, .label = each.label};
    return std::nullopt;
}

std::optional<std::string> UnitNumbers::answer(const SerialQuestion& question, std::string_view line)
{
    const std::string number{without_blanks(line)};
    if (auto fault = fault_of(number))
        return fault;
    if (std::ranges::find(all_, number) != all_.end())
        return "the serial number " + number + " was given for another module of this unit";
    if (question.module)
        modules_[to_text(*question.module)] = number;
    else
        unit_ = number;
    all_.push_back(number);
    return std::nullopt;
}

void UnitNumbers::give_to(PlanRunRequest& run, const Plan& plan) const
{
    run.serial_numbers.clear();
    run.unit_serial_number.reset();
    if (!asks_for_modules(plan)) {
        run.unit_serial_number = unit_;
        return;
    }
    for (const PlannedModule& each : plan.modules) {
        const auto given = modules_.find(to_text(each.module));
        if (each.asks_serial_number && given != modules_.end())
            run.serial_numbers.insert(*given);
    }
}

void StationTally::add(const PlanRunResult& unit)
{
    modules_.add(unit.counts);
    if (unit.status == ExitStatus::done) {
        ++passed_;
        return;
    }
    status_ = failed_ == 0 || status_ == unit.status ? unit.status : ExitStatus::several;
    ++failed_;
}

Json unit_event(std::size_t number, const std::vector<std::string>& serial_numbers,
                const PlanRunResult& result)
{
    const Json of_run = result_event(result.status, result.counts, result.failure);
    return {{"event", "unit"},
            {"unit", number},
            {"serial_number", serial_numbers.size() == 1 ? Json(serial_numbers.front()) : Json{}},
            {"passed", result.status == ExitStatus::done},
            {"status", of_run["status"]},
            {"class", of_run["class"]},
            {"counts", of_run["counts"]},
            {"journal", value_or_null(result.journal)},
            {"failure", of_run["failure"]}};
}

Json session_result_event(ExitStatus status, const StationTally& tally, const std::optional<Failure>& failure)
{
    Json event = result_event(status, tally.modules(), failure);
    event["units"] = {{"passed", tally.passed()}, {"failed", tally.failed()}};
    return event;
}

} // namespace kvn
