// SPDX-License-Identifier: Apache-2.0
// kvn report: one report out of the journals of one or more runs.
#include "commands.h"
#include "lines.h"
#include "report/report_files.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::vector<std::string> journals;
    std::string html;
    std::string junit;
    std::string csv;
    std::string json;
    bool overwrite = false;
};

std::vector<ReportTarget> targets_of(const Request& request)
{
    std::vector<ReportTarget> targets;
    for (const ReportTarget& target :
         {ReportTarget{ReportKind::html, request.html}, ReportTarget{ReportKind::junit, request.junit},
          ReportTarget{ReportKind::csv, request.csv}, ReportTarget{ReportKind::json, request.json}})
        if (!target.path.empty())
            targets.push_back(target);
    if (targets.empty())
        throw UsageError{"no report is asked for; name a file by --html, --junit, --csv or --json"};
    return targets;
}

/// "64: 62 configured, 2 failed"
std::string counts_text(const Report& report)
{
    const VerdictCounts counts = report.counts();
    std::string text;
    for (const Verdict verdict : {Verdict::configured, Verdict::refused, Verdict::failed, Verdict::timed_out,
                                  Verdict::cancelled, Verdict::not_tried})
        if (const std::size_t count = counts.of(verdict))
            text += (text.empty() ? ": " : ", ") + std::to_string(count) + " " + name_of(verdict);
    return std::to_string(report.rows.size()) + text;
}

void print_summary(std::ostream& out, const Report& report, const std::vector<ReportTarget>& targets)
{
    Lines lines{out};
    lines.add("Modules", counts_text(report));
    if (const std::size_t simulated = report.simulated())
        lines.add("Simulated", std::to_string(simulated));
    for (const ReportTarget& target : targets)
        if (target.path != "-")
            lines.add("Written", printable(target.path));
}

/// @return ExitStatus::damaged if a part of a journal is missing in the report
ExitStatus tell_doubts(const Report& report)
{
    for (const ReportRun& run : report.runs)
        for (const std::string& doubt : run.doubts)
            tell(run.journal + ": " + doubt);
    return std::ranges::any_of(report.runs, &ReportRun::is_damaged) ? ExitStatus::damaged : ExitStatus::done;
}

ExitStatus write_all(const Request& request)
{
    const std::vector<ReportTarget> targets = targets_of(request);
    require_writable(targets, request.overwrite);
    const Report report = read_report(request.journals);
    write_reports(report, targets, request.overwrite);
    const bool takes_output =
        std::ranges::any_of(targets, [](const auto& target) { return target.path == "-"; });
    print_summary(takes_output ? std::cerr : std::cout, report, targets);
    return tell_doubts(report);
}

} // namespace

Action add_report(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "report", "Writes a report out of the journals of runs");
    add_option(*command, "journals", request->journals, "Journals of kvn run, also of several hosts")
        ->required();
    add_option(*command, "--html", request->html,
               "A page for people; - for standard output, as for the others");
    add_option(*command, "--junit", request->junit, "JUnit XML for test systems");
    add_option(*command, "--csv", request->csv, "A table for spreadsheets");
    add_option(*command, "--json", request->json, "JSON for programs");
    add_flag(*command, "--overwrite", request->overwrite, "Replace files that exist");
    add_examples(*command, {"kvn report run.journal --html report.html --junit report.xml",
                            "kvn report run.journal again.journal --csv -"});
    return [request] { return write_all(*request); };
}

} // namespace kvn
