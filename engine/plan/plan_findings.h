// SPDX-License-Identifier: Apache-2.0
// What the readers of both kinds of plans share.
#ifndef KVN_ENGINE_PLAN_PLAN_FINDINGS_H
#define KVN_ENGINE_PLAN_PLAN_FINDINGS_H

#include "plan/plan.h"

namespace kvn
{

/// Adds a module, or the finding that the plan has it already.
void add_module(Plan& plan, PlannedModule module);

/// The path of a file whose name is relative to the folder of the plan.
[[nodiscard]] std::string beside(const std::string& plan, const std::string& name);

} // namespace kvn

#endif
