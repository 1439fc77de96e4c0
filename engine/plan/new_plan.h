// SPDX-License-Identifier: Apache-2.0
// Makes plans: of the rack that is there, and of other plans.
#ifndef KVN_ENGINE_PLAN_NEW_PLAN_H
#define KVN_ENGINE_PLAN_NEW_PLAN_H

#include "file/inspection.h"
#include "module/list.h"
#include "plan/plan.h"

#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// What a new plan names where it is not known which file a module gets. There is no such file, so that a
/// rehearsal names each line that is to be filled in.
inline constexpr const char* FILE_TO_FILL_IN = "fill-in.bit";

/// A module for each that has answered, with its device, in the order of the rows. It gets the file that is
/// for its device, if it is the only one.
[[nodiscard]] std::vector<PlannedModule> plan_of_rack(std::span<const BoardRow> boards,
                                                      std::span<const Inspection> files);

/// How a plan names a file that can be opened from the working directory: relative to the plan's folder where
/// it lies in that folder or below, else as an absolute path.
/// @param plan where the plan is going to be
[[nodiscard]] std::string name_in_plan(const std::string& plan, const std::string& file);

/// The modules as a plan file (write_plan), which has been read back.
/// @throws FailureError (ExitStatus::usage) when the plan would not be read without problems: a module is
///         named twice, or a name holds what no TOML text can
[[nodiscard]] std::string new_plan_text(const std::vector<PlannedModule>& modules,
                                        const std::string& comment);

} // namespace kvn

#endif
