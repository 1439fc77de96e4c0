// SPDX-License-Identifier: Apache-2.0
// One unit after the other by the same plan: which serial numbers are asked for, what can be one, and how a
// session of units ends.
#ifndef KVN_ENGINE_RUN_STATION_H
#define KVN_ENGINE_RUN_STATION_H

#include "plan/plan.h"
#include "run/plan_run.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// Longer ones are refused: two scans without a line feed between them, or no serial number at all.
inline constexpr std::size_t LONGEST_SERIAL_NUMBER = 128; // bytes

/// A number that is to be asked for.
struct SerialQuestion {
    std::optional<ModuleName> module = {}; ///< whose it is; null: of the unit as a whole
    std::string label = {};                ///< of the module; may be empty

    friend bool operator==(const SerialQuestion&, const SerialQuestion&) = default;
};

/// The serial numbers of one unit, as they are asked for: those of the modules for which the plan demands it
/// (`serial = "ask"`), else one for the unit as a whole. The plan may change from one question to the next.
class UnitNumbers
{
public:
    /// @param plan as it stands now; without modules when it cannot be read
    /// @return what is to be asked next; null when nothing is left to ask
    [[nodiscard]] std::optional<SerialQuestion> next(const Plan& plan) const;

    /// Takes an answer, without the blanks and carriage returns around it.
    /// @param question that next() has returned
    /// @param line as it was typed or scanned, without its line feed; any bytes
    /// @return why it is not taken, without a full stop; null: it is taken
    /// @throws std::bad_alloc
    [[nodiscard]] std::optional<std::string> answer(const SerialQuestion& question, std::string_view line);

    /// Passes the numbers on to a run of the plan.
    /// @param plan that next() has asked nothing more for
    void give_to(PlanRunRequest& run, const Plan& plan) const;

    /// In the order of the questions.
    [[nodiscard]] const std::vector<std::string>& all() const { return all_; }

private:
    std::optional<std::string> unit_;
    std::map<std::string, std::string> modules_; ///< by the module's name
    std::vector<std::string> all_;
};

/// What has become of the units of a session.
class StationTally
{
public:
    /// A unit passes when its run has the status ExitStatus::done.
    void add(const PlanRunResult& unit);

    [[nodiscard]] std::size_t units() const { return passed_ + failed_; }
    [[nodiscard]] std::size_t passed() const { return passed_; }
    [[nodiscard]] std::size_t failed() const { return failed_; }
    /// done when no unit has failed, the status of the failures when all units that failed have the same,
    /// else several.
    [[nodiscard]] ExitStatus status() const { return status_; }
    /// Of the modules of all units.
    [[nodiscard]] const VerdictCounts& modules() const { return modules_; }

private:
    std::size_t passed_ = 0;
    std::size_t failed_ = 0;
    ExitStatus status_ = ExitStatus::done;
    VerdictCounts modules_;
};

// The lines that a session adds to the stream of events (run/event.h), since version 1.1.

/// {"event":"unit","unit":n,"serial_number","passed":true,"status":0,"class","counts","journal","failure"}: a
/// unit's run is over. It takes the place of the run's `result`, whose members it has. "serial_number" is
/// null when several were asked for: the records have them. "journal" is null when no load was to be begun.
/// @param number from 1
[[nodiscard]] Json unit_event(std::size_t number, const std::vector<std::string>& serial_numbers,
                              const PlanRunResult& result);

/// `result` of the session, with the further member "units":{"passed":n,"failed":n}.
/// @param status of the session
/// @param failure that has ended it; null when input or a signal has
[[nodiscard]] Json session_result_event(ExitStatus status, const StationTally& tally,
                                        const std::optional<Failure>& failure = {});

} // namespace kvn

#endif
