// SPDX-License-Identifier: Apache-2.0
// A whole run: plan, rehearsal, journal, loads, result.
#ifndef KVN_ENGINE_RUN_PLAN_RUN_H
#define KVN_ENGINE_RUN_PLAN_RUN_H

#include "plan/plan.h"
#include "run/controller.h"
#include "run/policy.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace kvn
{

struct PlanRunRequest {
    std::string plan; ///< path
    ConReading reading = ConReading::strict;
    RunSettings settings = {};
    ApprovalFiles approval = {};
    PolicyPlace policy = {};
    bool dry_run = false;            ///< the rehearsal only
    bool force = false;              ///< as RehearsalRequest::force
    std::string journal;             ///< path of a new file; empty: named after plan, date and time
    std::string journal_folder = {}; ///< for a journal without a path of its own; empty: beside the plan
    std::string resume;              ///< path of a journal to go on from; empty: none
    bool resume_anyway = false;
    /// By module ("mwc4a:0/2"), for modules whose serial number the plan does not state.
    std::map<std::string, std::string> serial_numbers = {};
    /// What every record has for a serial number, whatever the plan states. The rehearsal does not hear of
    /// it: it tells no two modules apart.
    std::optional<std::string> unit_serial_number = {};
    /// Asks a person for the serial number of a module; null: there is nobody to ask.
    std::function<std::string(const PlannedModule&)> ask_serial_number = {};
};

/// How a run has ended.
struct PlanRunResult {
    ExitStatus status = ExitStatus::done;
    VerdictCounts counts; ///< of all modules of the plan; those that are kept as they were kept
    std::optional<Failure> failure =
        {}; ///< why the run as a whole came to nothing; null when the records say all
    std::optional<std::string> journal = {}; ///< its path; null: no load was to be begun
};

/// Rehearses the plan and, if no problem was found, loads each module and keeps a journal. The watcher hears
/// `planned`, each `problem`, `kept` (a module that a resumed run leaves out), `begun`, `progress`,
/// `finished` and at last `result`: on every path, also when something is thrown on the way, which is then
/// the failure of the result. Without loads, by a problem or by wish, there is no `begun` and no `finished`.
[[nodiscard]] PlanRunResult run_plan(const PlanRunRequest& request, RunWatcher& watcher,
                                     const StopSignals& signals);

} // namespace kvn

#endif
