// SPDX-License-Identifier: Apache-2.0
// The sections of the HTML report. Tags that HTML lets go without saying are left out: pages of 10,000
// modules stay small.
#ifndef KVN_ENGINE_REPORT_HTML_PARTS_H
#define KVN_ENGINE_REPORT_HTML_PARTS_H

#include "report/report.h"

#include <cstdint>
#include <string>

namespace kvn::html
{

/// The class of a verdict in the style sheet: a letter.
[[nodiscard]] char class_of(Verdict verdict);

/// "1 module", "2 modules"
[[nodiscard]] std::string counted(std::size_t count, const char* thing);

/// "1 311 798", with narrow blanks at which no line ends
[[nodiscard]] std::string grouped(std::uint64_t number);

/// "9.812" out of milliseconds
[[nodiscard]] std::string seconds_text(std::int64_t milliseconds);

/// "2026-11-22 03:44:37"
[[nodiscard]] std::string time_text(std::chrono::system_clock::time_point moment);

/// The name of a host as it is shown, also where none is known. Markup.
[[nodiscard]] std::string host_markup(const std::string& host);

/// A link to the row of a module, with a word or name. Markup.
[[nodiscard]] std::string row_link(std::size_t row, const std::string& markup);

// Each appends its section; nothing if the report has nothing for it.
void add_summary(std::string& page, const Report& report);
void add_remedies(std::string& page, const Report& report);
void add_rack(std::string& page, const Report& report);
void add_time_lines(std::string& page, const Report& report);
void add_modules(std::string& page, const Report& report);
void add_files(std::string& page, const Report& report);
void add_runs(std::string& page, const Report& report);

} // namespace kvn::html

#endif
