// SPDX-License-Identifier: Apache-2.0
// A report as one HTML file for people.
#ifndef KVN_ENGINE_REPORT_HTML_REPORT_H
#define KVN_ENGINE_REPORT_HTML_REPORT_H

#include "report/report.h"

#include <string>

namespace kvn
{

/// A page in HTML5 that needs nothing else: its policy forbids every request, and style and script are the
/// page's own, allowed by their digests. It is complete without either; with the script its table sorts and
/// filters. Texts of the journals are shown and never executed.
/// @throws std::bad_alloc
[[nodiscard]] std::string html_report(const Report& report);

} // namespace kvn

#endif
