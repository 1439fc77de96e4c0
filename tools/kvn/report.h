// SPDX-License-Identifier: Apache-2.0
// Tells an inspection to people.
#ifndef KVN_TOOLS_KVN_REPORT_H
#define KVN_TOOLS_KVN_REPORT_H

#include "report/json.h"
#include "streams.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace kvn
{

/// @param estimate for the time of a load; null: not asked for
void print_report(std::ostream& out, const Inspection& inspection, const std::optional<Estimate>& estimate);
void print_judgement(std::ostream& out, const Inspection& inspection, const Judgement& judgement);
void print_problems(std::ostream& out, const Inspection& inspection);

} // namespace kvn

#endif
