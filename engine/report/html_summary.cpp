// SPDX-License-Identifier: Apache-2.0
// The top of the HTML report: how many modules are configured, what to trust, what to do.
#include "report/html_parts.h"
#include "report/members.h"
#include "report/visible_text.h"

#include <algorithm>
#include <map>

namespace kvn::html
{
namespace
{

constexpr Verdict all_verdicts[] = {Verdict::configured, Verdict::refused,   Verdict::failed,
                                    Verdict::timed_out,  Verdict::cancelled, Verdict::not_tried};

std::string headline(const Report& report)
{
    const std::size_t all = report.rows.size();
    const std::size_t configured = report.counts().of(Verdict::configured);
    if (all == 0)
        return "No modules";
    if (configured == all)
        return all == 1 ? "1 module configured" : "All " + grouped(all) + " modules configured";
    return grouped(configured) + " of " + counted(all, "module") + " configured";
}

/// "rack.con on bench-7, 2026-11-22 03:44:37 UTC", or how many runs there are.
std::string circumstances(const Report& report)
{
    if (report.runs.empty())
        return "No journals.";
    const auto begin = time_text(report.runs.front().header.at);
    if (report.runs.size() == 1) {
        const JournalHeader& header = report.runs.front().header;
        return "<b>" + markup_text(header.plan) + "</b> on <b>" + host_markup(header.host.value_or("")) +
               "</b>, begun " + begin + " UTC";
    }
    return counted(report.runs.size(), "run") + " on " + counted(report.hosts().size(), "host") +
           ", begun from " + begin + " to " + time_text(report.runs.back().header.at) + " UTC";
}

void add_share(std::string& page, const Report& report)
{
    const VerdictCounts counts = report.counts();
    page +=
        "<svg class=share viewBox=\"0 0 1000 8\" preserveAspectRatio=none width=100% height=8 aria-hidden=true>";
    std::size_t before = 0;
    for (const Verdict verdict : all_verdicts) {
        const std::size_t count = counts.of(verdict);
        if (count == 0)
            continue;
        const std::size_t left = before * 1000 / report.rows.size();
        before += count;
        const std::size_t right = before * 1000 / report.rows.size();
        page += std::string{"<rect class="} + class_of(verdict) + " x=" + std::to_string(left) +
                " width=" + std::to_string(std::max<std::size_t>(right - left, 2)) + " height=8 />";
    }
    page += "</svg>\n";
}

void add_counts(std::string& page, const Report& report)
{
    const VerdictCounts counts = report.counts();
    page += "<ul class=counts>\n";
    for (const Verdict verdict : all_verdicts) {
        const std::size_t count = counts.of(verdict);
        page += std::string{"<li class=\"v "} + class_of(verdict) + (count == 0 ? " none" : "") + "\"><b>" +
                grouped(count) + "</b> " + name_of(verdict) + "\n";
    }
    page += "</ul>\n";
}

void add_notices(std::string& page, const Report& report)
{
    if (const std::size_t simulated = report.simulated(); simulated != 0)
        page += "<p class=\"notice s\"><b>Simulated boards.</b> " +
                (simulated == report.rows.size()
                     ? "None of these modules is real: no hardware was reached.\n"
                     : counted(simulated, "module") + " of " + grouped(report.rows.size()) +
                           (simulated == 1 ? " is" : " are") + " simulated, and marked so.\n");
    for (const ReportRun& run : report.runs)
        for (const std::string& doubt : run.doubts)
            page += "<p class=\"notice r\"><b>Damaged journal.</b> " + markup_text(run.journal) + ": " +
                    markup_text(doubt) + ".\n";
    for (const ReportRun& run : report.runs)
        if (!run.status && run.doubts.empty())
            page += "<p class=\"notice f\"><b>" +
                    std::string{run.goes_on ? "Unfinished run." : "Run cut off."} + "</b> " +
                    markup_text(run.journal) +
                    (run.goes_on ? ": the run goes on; this report shows how far it was.\n"
                                 : ": the journal does not say how the run ended; it was killed.\n");
}

} // namespace

void add_summary(std::string& page, const Report& report)
{
    page += "<header>\n<h1>" + headline(report) + "</h1>\n<p class=lead>" + circumstances(report) + "</p>\n";
    if (!report.rows.empty())
        add_share(page, report);
    add_counts(page, report);
    add_notices(page, report);
    page += "</header>\n";
}

void add_remedies(std::string& page, const Report& report)
{
    std::vector<std::string> remedies;
    std::map<std::string, std::vector<std::size_t>> rows_of;
    for (std::size_t i = 0; i < report.rows.size(); ++i) {
        const ReportRow& row = report.rows[i];
        if (row.verdict == Verdict::configured)
            continue;
        std::vector<std::size_t>& rows = rows_of[row.remedy];
        if (rows.empty())
            remedies.push_back(row.remedy);
        rows.push_back(i);
    }
    if (remedies.empty())
        return;
    const bool several_hosts = report.hosts().size() > 1;
    page += "<section aria-labelledby=todo>\n<h2 id=todo>What to do</h2>\n<ul class=todo>\n";
    for (const std::string& remedy : remedies) {
        page += "<li><p>" + (remedy.empty() ? "No remedy is known" : markup_text(remedy)) + "\n<ul>\n";
        for (const std::size_t i : rows_of[remedy]) {
            const ReportRow& row = report.rows[i];
            page += std::string{"<li class=\"v "} + class_of(row.verdict) + "\">" +
                    row_link(i, markup_text(row.module));
            if (several_hosts)
                page += " <small>" + host_markup(row.host) + "</small>";
            page += std::string{" "} + name_of(row.verdict) + "\n";
        }
        page += "</ul>\n";
    }
    page += "</ul>\n</section>\n";
}

} // namespace kvn::html
