// SPDX-License-Identifier: Apache-2.0
// The tables of the HTML report: modules, files, runs. The style sheet and the script count on the order of
// the columns.
#include "report/html_parts.h"
#include "report/members.h"
#include "report/visible_text.h"

#include <algorithm>

namespace kvn::html
{
namespace
{

constexpr const char* module_columns[] = {
    "Module", "Verdict", "Host",  "Serial number", "File",
    "Device", "Bytes",   "Begun", "Seconds",       "What went wrong, and what to do"};
constexpr const char* file_columns[] = {
    "File", "Format", "Design", "Part", "Modules", "Digest of the configuration", "SHA-256 of the file"};

template <std::size_t N>
void add_columns(std::string& page, const char* const (&names)[N])
{
    page += "<thead><tr>";
    for (const char* name : names)
        page += std::string{"<th scope=col>"} + name;
    page += "\n</thead>\n<tbody>\n";
}

/// A fact as it is shown, and how it is known unless it was observed.
std::string fact_markup(const ReportRow& row, const char* name, const std::string& markup)
{
    if (markup.empty())
        return "";
    const std::string source =
        member(row.record, name).is_null() ? "intended" : text_member(member(row.record, "sources"), name);
    return source == "given" || source == "intended" ? markup + " <i>" + source + "</i>" : markup;
}

std::string identity_text(const Json& identity)
{
    std::string text = text_member(identity, "type_name");
    if (const auto model = number_member(identity, "model"))
        text += " model " + std::to_string(*model);
    if (const auto version = number_member(identity, "version"))
        text += " version " + std::to_string(*version);
    return text;
}

std::string file_markup(const Report& report, std::size_t index)
{
    const std::size_t file = report.file_of_row[index];
    if (file == report.files.size())
        return "";
    constexpr std::size_t short_digest = 12;
    const ReportFile& found = report.files[file];
    std::string markup = "<a href=#f" + std::to_string(file) + ">" +
                         markup_text(found.name.empty() ? "unnamed" : found.name) + "</a>";
    if (!found.digest.empty())
        markup += "<small class=mono> " +
                  markup_text(std::string_view{found.digest}.substr(0, short_digest)) + "</small>";
    return markup;
}

std::string device_markup(const ReportRow& row)
{
    std::string markup = fact_markup(row, "device", markup_text(text_fact(row, "device")));
    if (const std::string identity = identity_text(fact_of(row, "identity")); !identity.empty())
        markup += "<small> " + markup_text(identity) + "</small>";
    return markup;
}

/// The bytes on the wire and, below them, the mode.
std::string bytes_markup(const ReportRow& row)
{
    const auto bytes = number_member(row.record.is_null() ? row.planned : row.record, "wire_bytes");
    std::string markup = bytes ? fact_markup(row, "wire_bytes", grouped(*bytes)) : "";
    if (const std::string mode = text_fact(row, "mode"); !mode.empty())
        markup += "<small> " + markup_text(mode) + "</small>";
    return markup;
}

struct Times {
    std::string begin;
    std::string seconds;
};

Times times_of(const ReportRow& row)
{
    constexpr std::size_t day = 10;
    Times times;
    const auto begin = moment_member(row.record, "begin");
    if (!begin)
        return times;
    const std::string moment = moment_text(*begin);
    times.begin = "<small>" + moment.substr(0, day) + " </small>" + moment.substr(day + 1);
    const auto end = moment_member(row.record, "end");
    if (end && *begin <= *end)
        times.seconds = seconds_text(*end - *begin);
    return times;
}

std::string verdict_markup(const ReportRow& row)
{
    const std::string verdict = name_of(row.verdict);
    const std::string state{name_of(row.state)};
    return state == verdict ? verdict : verdict + "<small> " + state + "</small>";
}

void add_paragraph(std::string& page, const char* name, const std::string& text)
{
    if (!text.empty())
        page += std::string{"<p>"} + name + markup_text(text);
}

void add_outcome(std::string& page, const ReportRow& row)
{
    add_paragraph(page, "", row.what);
    add_paragraph(page, "<b>why:</b> ", row.why);
    add_paragraph(page, "<b>try:</b> ", row.remedy);
    const Json& problems = member(row.record, "problems");
    if (!problems.is_array())
        return;
    for (const Json& problem : problems) {
        const char* name = flag_member(problem, "fatal") ? "<b>problem:</b> " : "<b>note:</b> ";
        const std::string remedy = text_member(problem, "remedy");
        add_paragraph(page, name, text_member(problem, "what") + (remedy.empty() ? "" : "; " + remedy));
    }
}

void add_cell(std::string& page, const std::string& markup, const char* attributes = "")
{
    page += "<td";
    page += attributes;
    page += '>';
    page += markup;
}

void add_row(std::string& page, const Report& report, std::size_t index)
{
    const ReportRow& row = report.rows[index];
    const std::string letter(1, class_of(row.verdict));
    page +=
        "<tr id=m" + std::to_string(index) + " class=" + letter + "><th scope=row>" + markup_text(row.module);
    if (!row.label.empty())
        page += "<small> " + markup_text(row.label) + "</small>";
    if (row.simulated)
        page += "<small> simulated</small>";
    add_cell(page, verdict_markup(row), " class=v");
    const std::string run = std::to_string(row.run + 1);
    add_cell(page, host_markup(row.host) + "<small> <a href=#r" + run + ">run " + run + "</a></small>");
    add_cell(page, markup_text(text_fact(row, "serial_number")));
    add_cell(page, file_markup(report, index));
    add_cell(page, device_markup(row));
    add_cell(page, bytes_markup(row));
    const Times times = times_of(row);
    add_cell(page, times.begin);
    add_cell(page, times.seconds +
                       (row.attempts == 1 ? "" : "<small> " + counted(row.attempts, "attempt") + "</small>"));
    page += "<td>";
    add_outcome(page, row);
    page += '\n';
}

void add_term(std::string& page, const char* term, const std::string& text)
{
    if (!text.empty())
        page += std::string{"<dt>"} + term + "<dd>" + markup_text(text) + "\n";
}

std::string listed(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts)
        list += (list.empty() ? "" : ", ") + text;
    return list;
}

std::string end_text(const ReportRun& run)
{
    if (run.status)
        return "exit status " + std::to_string(*run.status) +
               (*run.status <= static_cast<int>(ExitStatus::timed_out)
                    ? ": " + std::string{meaning_of(static_cast<ExitStatus>(*run.status))}
                    : "");
    return run.goes_on ? "not yet" : "unknown: the journal does not say";
}

void add_run(std::string& page, const ReportRun& run, std::size_t number)
{
    const JournalHeader& header = run.header;
    page += "<li id=r" + std::to_string(number) + "><h3>Run " + std::to_string(number) + "</h3>\n<dl>\n";
    add_term(page, "Plan", header.plan);
    add_term(page, "SHA-256 of the plan", header.plan_sha256);
    add_term(page, "Modules in the plan", std::to_string(run.modules));
    add_term(page, "Host", header.host.value_or(""));
    add_term(page, "Boot of the host", header.boot_id.value_or(""));
    add_term(page, "Operator", header.operator_name.value_or(""));
    add_term(page, "Station", header.station.value_or(""));
    add_term(page, "Begun", time_text(header.at) + " UTC");
    add_term(page, "Ended", end_text(run));
    add_term(page, "Tool", listed(run.tools));
    add_term(page, "Provider", listed(run.providers));
    add_term(page, "Journal", run.journal);
    if (header.continues)
        add_term(page, "Continues", header.continues->file);
    page += "</dl>\n";
}

} // namespace

void add_modules(std::string& page, const Report& report)
{
    if (report.rows.empty())
        return;
    std::string classes = "records cards";
    if (report.runs.size() == 1)
        classes += " one-run";
    if (std::ranges::all_of(report.rows,
                            [](const ReportRow& row) { return text_fact(row, "serial_number").empty(); }))
        classes += " no-serial";
    page += "<section aria-labelledby=modules>\n<h2 id=modules>Modules</h2>\n"
            "<div class=scroll role=region aria-labelledby=modules tabindex=0>\n<table class=\"" +
            classes + "\">\n";
    add_columns(page, module_columns);
    for (std::size_t i = 0; i < report.rows.size(); ++i)
        add_row(page, report, i);
    page += "</tbody></table>\n</div>\n</section>\n";
}

void add_files(std::string& page, const Report& report)
{
    if (report.files.empty())
        return;
    page += "<section aria-labelledby=files>\n<h2 id=files>Files</h2>\n<table class=\"files cards\">\n";
    add_columns(page, file_columns);
    for (std::size_t i = 0; i < report.files.size(); ++i) {
        const ReportFile& file = report.files[i];
        page += "<tr id=f" + std::to_string(i) + "><th scope=row>" + markup_text(file.name);
        for (const std::string& text : {file.format, file.design, file.part})
            add_cell(page, markup_text(text));
        add_cell(page, grouped(file.modules));
        for (const std::string& digest : {file.digest, file.sha256})
            page += "<td class=\"mono digest\">" + markup_text(digest);
        page += '\n';
    }
    page += "</tbody></table>\n</section>\n";
}

void add_runs(std::string& page, const Report& report)
{
    if (report.runs.empty())
        return;
    page += "<section aria-labelledby=runs>\n<h2 id=runs>Runs</h2>\n<ol class=runs>\n";
    for (std::size_t i = 0; i < report.runs.size(); ++i)
        add_run(page, report.runs[i], i + 1);
    page += "</ol>\n</section>\n";
}

} // namespace kvn::html
