// SPDX-License-Identifier: Apache-2.0
// A report as CSV for spreadsheets.
#include "report/csv_report.h"

#include "report/members.h"
#include "report/visible_text.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

constexpr std::string_view HEAD =
    "host,module,label,serial_number,verdict,state,attempts,error,what,why,remedy,file,file_sha256,digest,format,"
    "design,part,device,mode,wire_bytes,begin,end,seconds_on_wire,answer,operator,station,tool_version,provider,"
    "provider_version,simulated,plan,journal";

/// Signs with which a formula begins, also as they are typed in East Asian scripts.
constexpr std::array<std::string_view, 9> FORMULA_SIGNS{"=",      "+",      "-",      "@",     "'",
                                                        "\uFF1D", "\uFF0B", "\uFF0D", "\uFF20"};

bool may_be_formula(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
    return std::ranges::any_of(FORMULA_SIGNS,
                               [&](std::string_view sign) { return text.substr(first).starts_with(sign); });
}

/// A number, or nothing: no text of the journal gets past it.
std::string number_field(const Json& number)
{
    return number.is_number() ? number.dump() : std::string{};
}

/// The line of a module, field by field.
class Line
{
public:
    explicit Line(std::string& out) : out_{out} {}
    ~Line() { out_ += "\r\n"; }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void add(std::string_view text) { add_raw(csv_field(text)); }
    void add_number(const Json& number) { add_raw(number_field(number)); }

private:
    void add_raw(const std::string& field)
    {
        if (!is_first_)
            out_ += ',';
        is_first_ = false;
        out_ += field;
    }

    std::string& out_;
    bool is_first_ = true;
};

void add_row(std::string& out, const Report& report, const ReportRow& row)
{
    const ReportRun& run = report.runs[row.run];
    const Json& provider = row.record.is_null() ? run.header.provider : member(row.record, "provider");
    Line line{out};
    line.add(row.host);
    line.add(row.module);
    line.add(row.label);
    line.add(text_fact(row, "serial_number"));
    line.add(name_of(row.verdict));
    line.add(name_of(row.state));
    line.add_number(row.attempts);
    line.add_number(member(member(row.record, "failure"), "number"));
    line.add(row.what);
    line.add(row.why);
    line.add(row.remedy);
    for (const char* name : {"file", "file_sha256", "digest", "format", "design", "part", "device", "mode"})
        line.add(text_fact(row, name));
    line.add_number(fact_of(row, "wire_bytes"));
    line.add(text_member(row.record, "begin"));
    line.add(text_member(row.record, "end"));
    line.add_number(member(row.record, "seconds_on_wire"));
    line.add_number(member(row.record, "answer"));
    line.add(text_fact(row, "operator_name"));
    line.add(text_fact(row, "station"));
    line.add(text_member(row.record, "tool_version"));
    line.add(text_member(provider, "name"));
    line.add(text_member(provider, "version"));
    line.add(row.simulated ? "true" : "false");
    line.add(run.header.plan);
    line.add(run.journal);
}

} // namespace

std::string csv_field(std::string_view text)
{
    std::string field = visible_text(text);
    if (may_be_formula(field))
        field.insert(0, 1, '\'');
    if (field.find_first_of(",;\"'") == std::string::npos)
        return field;
    std::string quoted = "\"";
    for (const char c : field)
        quoted += c == '"' ? std::string{"\"\""} : std::string{c};
    return quoted + "\"";
}

std::string csv_report(const Report& report)
{
    std::string out{HEAD};
    out += "\r\n";
    for (const ReportRow& row : report.rows)
        add_row(out, report, row);
    return out;
}

} // namespace kvn
