// SPDX-License-Identifier: Apache-2.0
// What a run says of modules that no worker can speak for, and how it ends.
#ifndef KVN_ENGINE_RUN_OUTCOME_H
#define KVN_ENGINE_RUN_OUTCOME_H

#include "module/load.h"
#include "report/json.h"
#include "run/event.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kvn
{

/// One load that a run shall do: what was approved, and what the user says.
struct ModuleLoad {
    ModuleName module;
    const Input* file = nullptr; ///< not null; must outlive the run
    JudgedFile judged = {};
    std::string device = {}; ///< that the user expects; empty: none
    std::optional<std::string> serial_number = {};
    std::optional<std::chrono::milliseconds> timeout = {}; ///< in place of the run's
    std::optional<unsigned> retries = {};                  ///< in place of the run's
};

/// What every record of a run says.
struct RunFacts {
    ProviderIdentity provider = {};
    std::optional<std::string> operator_name = {};
    std::optional<std::string> station = {};
    std::optional<std::string> approved_by = {};  ///< who has signed the manifest
    std::optional<std::string> approval_key = {}; ///< of that signature
};

/// What is known of a load whose worker has ended in it.
struct LostLoad {
    std::chrono::system_clock::time_point begin = {};
    std::chrono::system_clock::time_point end = {};
    bool was_begun = false;      ///< its message may have been begun
    std::uint64_t bytes = 0;     ///< that have reached the module, at the least
    bool may_have_ended = false; ///< its message may have been ended
};

/// The record of a module that nothing was sent to.
/// @param failure why
[[nodiscard]] Record not_tried(const ModuleLoad& load, const RunFacts& facts, const Failure& failure);

/// The record of a module whose load was lost. Its state is what follows from what was seen: untouched before
/// the message was begun, interrupted after bytes of it and before its end, else unknown. After a time-out
/// during the message it is unknown: the call that does not return may still do something.
/// @param failure why: ExitStatus::timed_out gives the verdict timed_out, ExitStatus::cancelled the verdict
/// cancelled;
///        else the verdict is failed, or not_tried where nothing was sent
[[nodiscard]] Record lost(const ModuleLoad& load, const RunFacts& facts, const LostLoad& lost,
                          const Failure& failure);

/// The record of a module after several attempts. An attempt that sent nothing leaves what an earlier one has
/// left: its state, mode, bytes and answer stay, and the module was tried.
/// @param record of the last attempt, JSON
/// @param earlier of the attempts before, JSON
[[nodiscard]] Json after_attempts(Json record, const Json& earlier);

/// How a run ends by its records: done if all modules are configured, the class of their failures if all have
/// the same, else several.
class RunStatus
{
public:
    /// @param record JSON of a record
    void add(const Json& record);
    [[nodiscard]] ExitStatus status() const { return status_.value_or(ExitStatus::done); }
    [[nodiscard]] const VerdictCounts& counts() const { return counts_; }

private:
    std::optional<ExitStatus> status_;
    VerdictCounts counts_;
};

} // namespace kvn

#endif
