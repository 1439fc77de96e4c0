// SPDX-License-Identifier: Apache-2.0
// The JSON documents about plans and inventories.
#ifndef KVN_ENGINE_REPORT_PLAN_JSON_H
#define KVN_ENGINE_REPORT_PLAN_JSON_H

#include "plan/plan.h"
#include "report/json.h"
#include "run/rehearsal.h"

#include <span>
#include <string>

namespace kvn
{

/// {"severity": "problem" or "note", "where": "rack.con:3", "what", "remedy"}; "remedy" is null if there is
/// none.
[[nodiscard]] Json to_json(const Finding& finding);
/// {"module": "mwc4a:0/2", "label", "file", "load", "device", "digest", "serial", "timeout", "retries"}: the
/// members of a plan file. What is not given is null.
[[nodiscard]] Json to_json(const PlannedModule& module);

/// The document "plan": what was written.
/// @param file that the plan was written into
[[nodiscard]] Json plan_document(const std::string& file, std::span<const PlannedModule> modules,
                                 std::span<const Finding> findings);

/// The document "inventory": what kvn list --expect has found.
[[nodiscard]] Json inventory_document(const ProviderIdentity& provider, const Plan& plan,
                                      std::span<const BusInventory> inventory, const Rehearsal& comparison);

} // namespace kvn

#endif
