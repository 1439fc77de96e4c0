// SPDX-License-Identifier: Apache-2.0
// A report as JSON for programs.
#include "report/report_json.h"

#include "report/json.h"
#include "report/utc.h"

namespace kvn
{
namespace
{

Json counts_json(const VerdictCounts& counts)
{
    Json json = Json::object();
    for (const Verdict verdict : {Verdict::configured, Verdict::refused, Verdict::failed, Verdict::cancelled,
                                  Verdict::timed_out, Verdict::not_tried})
        json[name_of(verdict)] = counts.of(verdict);
    return json;
}

Json run_json(const ReportRun& run)
{
    const JournalHeader& header = run.header;
    return {{"journal", run.journal},
            {"host", text_or_null(header.host.value_or(""))},
            {"boot_id", text_or_null(header.boot_id.value_or(""))},
            {"operator", text_or_null(header.operator_name.value_or(""))},
            {"station", text_or_null(header.station.value_or(""))},
            {"plan", header.plan},
            {"plan_sha256", text_or_null(header.plan_sha256)},
            {"begin", utc_text(header.at)},
            {"status", run.status ? Json(*run.status) : Json{}},
            {"goes_on", run.goes_on},
            {"modules", run.modules},
            {"tools", run.tools},
            {"providers", run.providers},
            {"continues", header.continues ? Json(header.continues->file) : Json{}},
            {"doubts", run.doubts}};
}

Json file_json(const ReportFile& file)
{
    return {{"file", text_or_null(file.name)},
            {"file_sha256", text_or_null(file.sha256)},
            {"digest", text_or_null(file.digest)},
            {"format", text_or_null(file.format)},
            {"design", text_or_null(file.design)},
            {"part", text_or_null(file.part)},
            {"modules", file.modules}};
}

Json row_json(const ReportRow& row)
{
    return {{"host", text_or_null(row.host)},
            {"module", row.module},
            {"label", text_or_null(row.label)},
            {"bus", text_or_null(row.bus)},
            {"board", text_or_null(row.board)},
            {"slot", row.slot != 0 ? Json(row.slot) : Json{}},
            {"run", row.run},
            {"attempts", row.attempts},
            {"verdict", name_of(row.verdict)},
            {"state", name_of(row.state)},
            {"what", text_or_null(row.what)},
            {"why", text_or_null(row.why)},
            {"remedy", text_or_null(row.remedy)},
            {"simulated", row.simulated},
            {"planned", row.planned},
            {"record", row.record}};
}

} // namespace

Json to_json(const Report& report)
{
    Json json = json_document("report");
    json["counts"] = counts_json(report.counts());
    json["simulated"] = report.simulated();
    json["hosts"] = report.hosts();
    json["runs"] = Json::array();
    for (const ReportRun& run : report.runs)
        json["runs"].push_back(run_json(run));
    json["files"] = Json::array();
    for (const ReportFile& file : report.files)
        json["files"].push_back(file_json(file));
    json["modules"] = Json::array();
    for (const ReportRow& row : report.rows)
        json["modules"].push_back(row_json(row));
    return json;
}

} // namespace kvn
