// SPDX-License-Identifier: Apache-2.0
// A report as JUnit XML for test systems.
#include "report/junit_report.h"

#include "report/members.h"
#include "report/visible_text.h"

#include <array>
#include <cstdio>
#include <set>
#include <utility>

namespace kvn
{
namespace
{

/// How the dialect sorts what did not pass.
enum class Outcome { passed, failure, error };

Outcome outcome_of(Verdict verdict)
{
    switch (verdict) {
    case Verdict::configured:
        return Outcome::passed;
    case Verdict::cancelled:
    case Verdict::not_tried:
        return Outcome::error;
    default:
        return Outcome::failure;
    }
}

/// Milliseconds from begin to end; 0 when they are not known.
std::int64_t duration_of(const ReportRow& row)
{
    const auto begin = moment_member(row.record, "begin");
    const auto end = moment_member(row.record, "end");
    return begin && end && *begin <= *end ? *end - *begin : 0;
}

std::string seconds(std::int64_t milliseconds)
{
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%lld.%03lld", static_cast<long long>(milliseconds / 1000),
                        static_cast<long long>(milliseconds % 1000));
    return text.data();
}

struct Totals {
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t errors = 0;
    std::int64_t milliseconds = 0;

    void add(const ReportRow& row)
    {
        ++tests;
        failures += outcome_of(row.verdict) == Outcome::failure ? 1 : 0;
        errors += outcome_of(row.verdict) == Outcome::error ? 1 : 0;
        milliseconds += duration_of(row);
    }

    [[nodiscard]] std::string attributes() const
    {
        return " tests=\"" + std::to_string(tests) + "\" failures=\"" + std::to_string(failures) +
               "\" errors=\"" + std::to_string(errors) + "\" skipped=\"0\" time=\"" + seconds(milliseconds) +
               "\"";
    }
};

std::string attribute(const char* name, const std::string& text)
{
    return std::string{" "} + name + "=\"" + markup_text(text) + "\"";
}

void add_property(std::string& out, const char* indent, const char* name, const std::string& value)
{
    if (!value.empty())
        out +=
            std::string{indent} + "<property" + attribute("name", name) + attribute("value", value) + "/>\n";
}

std::vector<const ReportRow*> rows_of(const Report& report, const std::string& host)
{
    std::vector<const ReportRow*> rows;
    for (const ReportRow& row : report.rows)
        if (row.host == host)
            rows.push_back(&row);
    return rows;
}

/// Indexes of the runs that the rows of a suite are of.
std::set<std::size_t> runs_of(const std::vector<const ReportRow*>& rows)
{
    std::set<std::size_t> runs;
    for (const ReportRow* row : rows)
        runs.insert(row->run);
    return runs;
}

void add_run_properties(std::string& out, const ReportRun& run)
{
    constexpr const char* indent = "      ";
    add_property(out, indent, "plan", run.header.plan);
    add_property(out, indent, "plan_sha256", run.header.plan_sha256);
    add_property(out, indent, "journal", run.journal);
    for (const std::string& tool : run.tools)
        add_property(out, indent, "tool", tool);
    for (const std::string& provider : run.providers)
        add_property(out, indent, "provider", provider);
    add_property(out, indent, "operator", run.header.operator_name.value_or(""));
    add_property(out, indent, "station", run.header.station.value_or(""));
    for (const std::string& doubt : run.doubts)
        add_property(out, indent, "doubt", doubt);
}

void add_case_properties(std::string& out, const ReportRow& row)
{
    constexpr const char* indent = "        ";
    out += "      <properties>\n";
    add_property(out, indent, "verdict", name_of(row.verdict));
    add_property(out, indent, "state", std::string{name_of(row.state)});
    add_property(out, indent, "attempts", std::to_string(row.attempts));
    for (const char* name :
         {"serial_number", "file", "file_sha256", "digest", "design", "part", "device", "mode"})
        add_property(out, indent, name, text_fact(row, name));
    add_property(out, indent, "tool_version", text_member(row.record, "tool_version"));
    add_property(out, indent, "simulated", row.simulated ? "true" : "false");
    out += "      </properties>\n";
}

std::string details(const ReportRow& row)
{
    std::string text = row.what;
    if (!row.why.empty())
        text += "\nwhy: " + row.why;
    if (!row.remedy.empty())
        text += "\ntry: " + row.remedy;
    return text;
}

/// The text of an element: line feeds stay, each line is shown as it may be.
std::string lines_markup(const std::string& text)
{
    std::string markup;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        markup += markup_text(std::string_view{text}.substr(begin, end - begin)) + "\n";
        begin = end + 1;
    }
    return markup + markup_text(std::string_view{text}.substr(begin));
}

void add_outcome(std::string& out, const ReportRow& row)
{
    const Outcome outcome = outcome_of(row.verdict);
    if (outcome == Outcome::passed)
        return;
    const std::string element = outcome == Outcome::failure ? "failure" : "error";
    const std::string what = row.what.empty() ? "the module is not configured" : row.what;
    out += "      <" + element + attribute("message", what) + attribute("type", name_of(row.verdict)) + ">" +
           lines_markup(details(row)) + "</" + element + ">\n";
}

/// Names of cases, each given out once.
class Names
{
public:
    std::string unique(const std::string& name)
    {
        std::string candidate = name;
        for (unsigned n = 2; !given_.insert(candidate).second; ++n)
            candidate = name + " (" + std::to_string(n) + ")";
        return candidate;
    }

private:
    std::set<std::string> given_;
};

std::string case_name(const ReportRow& row)
{
    std::string name = row.host.empty() ? row.module : row.host + " " + row.module;
    if (!row.label.empty())
        name += " " + row.label;
    return visible_text(name);
}

void add_case(std::string& out, const ReportRow& row, Names& names)
{
    out += "    <testcase" + attribute("name", names.unique(case_name(row))) +
           attribute("classname", row.host.empty() ? "kvn" : row.host) +
           attribute("time", seconds(duration_of(row))) + ">\n";
    add_case_properties(out, row);
    add_outcome(out, row);
    out += "    </testcase>\n";
}

void add_suite(std::string& out, const Report& report, const std::vector<const ReportRow*>& rows,
               Names& names)
{
    Totals totals;
    for (const ReportRow* row : rows)
        totals.add(*row);
    const std::string& host = rows.front()->host;
    const std::set<std::size_t> runs = runs_of(rows);
    const auto begin = std::chrono::floor<std::chrono::milliseconds>(report.runs[*runs.begin()].header.at);
    std::string timestamp = moment_text(begin.time_since_epoch().count());
    timestamp[timestamp.find(' ')] = 'T';
    out += "  <testsuite" + attribute("name", host.empty() ? "modules" : "modules of " + host) +
           attribute("hostname", host.empty() ? "unknown" : host) + attribute("timestamp", timestamp) +
           totals.attributes() + ">\n    <properties>\n";
    for (const std::size_t run : runs)
        add_run_properties(out, report.runs[run]);
    out += "    </properties>\n";
    for (const ReportRow* row : rows)
        add_case(out, *row, names);
    out += "  </testsuite>\n";
}

} // namespace

std::string junit_report(const Report& report)
{
    Totals totals;
    for (const ReportRow& row : report.rows)
        totals.add(row);
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"kvn\"" + totals.attributes() + ">\n";
    Names names;
    for (const std::string& host : report.hosts())
        add_suite(out, report, rows_of(report, host), names);
    return out + "</testsuites>\n";
}

} // namespace kvn
