// SPDX-License-Identifier: Apache-2.0
// Tells the findings of a plan or a rehearsal to people.
#ifndef KVN_TOOLS_KVN_PLAN_FINDINGS_H
#define KVN_TOOLS_KVN_PLAN_FINDINGS_H

#include "plan/plan.h"

#include <span>

namespace kvn
{

/// Writes each on standard error: "kvn: rack.con:3: what" and what to try; notes are named so.
void tell_findings(std::span<const Finding> findings);

} // namespace kvn

#endif
