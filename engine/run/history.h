// SPDX-License-Identifier: Apache-2.0
// The last load of each module that a folder of journals has seen.
#ifndef KVN_ENGINE_RUN_HISTORY_H
#define KVN_ENGINE_RUN_HISTORY_H

#include "report/json.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// The sentence that belongs below every history.
inline constexpr const char* HISTORY_REMARK =
    "These are the last loads that the journals have seen. What a module holds now cannot be read back from it: it may "
    "have been loaded by other means since, or have lost its configuration with the power.";

/// The last load of a module.
struct SeenLoad {
    std::optional<std::string> host; ///< modules of different hosts are different modules
    std::string module;              ///< "mwc4a:0/2"
    std::string begun_at;            ///< "2026-11-22T03:44:37.125Z"
    Json record;                     ///< null: the load was begun and not finished
    Json planned; ///< what the load was to be, where there is no record; null when the plan does not name the
                  ///< module
    std::optional<std::string> operator_name;
    std::optional<std::string> station;
    std::string journal;  ///< file name in the folder
    std::size_t line = 0; ///< of the record, or of `begun`
};

/// A journal that cannot be used, or only in part.
struct HistoryProblem {
    std::string journal; ///< file name in the folder
    std::string what;
};

struct History {
    std::vector<SeenLoad> loads; ///< sorted by host and module
    std::size_t journals = 0;    ///< that were read
    std::size_t records = 0;     ///< lines `finished` in them
    std::vector<HistoryProblem> problems;
};

/// Reads all journals of a folder: the regular files in it that begin as a journal does, and those named
/// *.journal. A journal counts up to the first line that does not fit its chain. Attempts that sent nothing
/// are no loads.
/// @param module "mwc4a:0/2": only this one; empty: all
/// @throws FailureError (ExitStatus::file) when the folder cannot be read
[[nodiscard]] History read_history(const std::string& folder, const std::string& module = {});

} // namespace kvn

#endif
