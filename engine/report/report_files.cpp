// SPDX-License-Identifier: Apache-2.0
// Reports as files: HTML for people, JUnit XML for test systems, CSV for spreadsheets, JSON for programs.
#include "report/report_files.h"

#include "errors/failure.h"
#include "file/new_file.h"
#include "report/csv_report.h"
#include "report/html_report.h"
#include "report/junit_report.h"
#include "report/report_json.h"
#include "system/path_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <sstream>
#include <utility>

namespace kvn
{
namespace
{

constexpr std::array<std::pair<const char*, ReportKind>, 5> EXTENSIONS{{{".html", ReportKind::html},
                                                                        {".htm", ReportKind::html},
                                                                        {".xml", ReportKind::junit},
                                                                        {".csv", ReportKind::csv},
                                                                        {".json", ReportKind::json}}};

std::string lower_case(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool is_same_target(const ReportTarget& first, const ReportTarget& second)
{
    if (first.path == second.path)
        return true;
    if (first.path == "-" || second.path == "-")
        return false;
    const auto whole = [](const ReportTarget& target) {
        std::error_code ignored;
        return std::filesystem::weakly_canonical(
            std::filesystem::absolute(system::path_of(target.path), ignored), ignored);
    };
    return whole(first) == whole(second) || is_same_file(first.path, second.path);
}

void require_distinct(std::span<const ReportTarget> targets)
{
    for (std::size_t i = 0; i < targets.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (is_same_target(targets[i], targets[j]))
                throw FailureError{{ExitStatus::usage, 0,
                                    targets[i].path == "-"
                                        ? "standard output cannot take two reports"
                                        : "two reports cannot go to one file: " + targets[i].path,
                                    "", "name a file for each report"}};
}

void write_report(const std::string& content, const ReportTarget& target, bool overwrite)
{
    if (target.path == "-") {
        write_to_standard_output(content);
        return;
    }
    NewFile file{target.path};
    file.write(content);
    file.move_to_target(overwrite);
}

} // namespace

ReportTarget report_target(const std::string& path)
{
    const std::string extension = lower_case(system::text_of(system::path_of(path).extension()));
    const auto* const found =
        std::ranges::find(EXTENSIONS, extension, &decltype(EXTENSIONS)::value_type::first);
    if (found == EXTENSIONS.end())
        throw FailureError{{ExitStatus::usage, 0, "the kind of the report " + path + " is not known", "",
                            "name a file with the extension .html, .xml (JUnit), .csv or .json"}};
    return {found->second, path};
}

void require_writable(std::span<const ReportTarget> targets, bool overwrite)
{
    require_distinct(targets);
    for (const ReportTarget& target : targets)
        if (target.path != "-")
            require_free(target.path, overwrite);
}

std::string render(const Report& report, ReportKind kind)
{
    switch (kind) {
    case ReportKind::html:
        return html_report(report);
    case ReportKind::junit:
        return junit_report(report);
    case ReportKind::csv:
        return csv_report(report);
    default: {
        std::ostringstream out;
        print_json(out, to_json(report));
        return std::move(out).str();
    }
    }
}

void write_reports(const Report& report, std::span<const ReportTarget> targets, bool overwrite)
{
    require_writable(targets, overwrite);
    for (const ReportTarget& target : targets)
        write_report(render(report, target.kind), target, overwrite);
}

} // namespace kvn
