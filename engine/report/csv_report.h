// SPDX-License-Identifier: Apache-2.0
// A report as CSV for spreadsheets.
#ifndef KVN_ENGINE_REPORT_CSV_REPORT_H
#define KVN_ENGINE_REPORT_CSV_REPORT_H

#include "report/report.h"

#include <string>
#include <string_view>

namespace kvn
{

/// Lines by RFC 4180 in UTF-8: the names of the columns, then one line for each module. The columns and their
/// order are in docs/kvn/report.md; further ones may only be added at the end. What is unknown is empty.
/// @throws std::bad_alloc
[[nodiscard]] std::string csv_report(const Report& report);

/// A text as a field. A text that a spreadsheet might take for a formula, or that begins with an apostrophe,
/// gets an apostrophe in front: readers remove one.
[[nodiscard]] std::string csv_field(std::string_view text);

} // namespace kvn

#endif
