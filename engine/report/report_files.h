// SPDX-License-Identifier: Apache-2.0
// Reports as files: HTML for people, JUnit XML for test systems, CSV for spreadsheets, JSON for programs.
#ifndef KVN_ENGINE_REPORT_REPORT_FILES_H
#define KVN_ENGINE_REPORT_REPORT_FILES_H

#include "report/report.h"

#include <optional>
#include <span>
#include <string>

namespace kvn
{

enum class ReportKind { html, junit, csv, json };

/// Where a report goes, and as what.
struct ReportTarget {
    ReportKind kind = ReportKind::html;
    std::string path; ///< "-" is standard output
};

/// The kind that a file's extension names: .html or .htm, .xml (JUnit), .csv, .json; in either case.
/// @throws FailureError (ExitStatus::usage) for any other, "-" included
[[nodiscard]] ReportTarget report_target(const std::string& path);

/// For the targets of one command, before any work is done for them.
/// @throws FailureError: of ExitStatus::usage when two are one file or both standard output; of
/// ExitStatus::file when something is there that may not be replaced (require_free())
void require_writable(std::span<const ReportTarget> targets, bool overwrite);

/// The report as the content of a file, in UTF-8. Equal reports give equal bytes.
/// @throws std::bad_alloc
[[nodiscard]] std::string render(const Report& report, ReportKind kind);

/// Writes the report to each target: a file gets its name when it is whole and on the disk.
/// @throws FailureError (ExitStatus::file) for the first that cannot be written; the others are not tried
void write_reports(const Report& report, std::span<const ReportTarget> targets, bool overwrite);

} // namespace kvn

#endif
