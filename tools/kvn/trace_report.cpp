// SPDX-License-Identifier: Apache-2.0
// A recording of platform calls, counted, and as JSON.
#include "trace_report.h"

#include <algorithm>
#include <limits>
#include <set>

namespace kvn
{
namespace
{

std::uint64_t sum(std::uint64_t left, std::uint64_t right)
{
    constexpr auto most = std::numeric_limits<std::uint64_t>::max();
    return left > most - right ? most : left + right;
}

std::optional<std::uint64_t> sum(const std::optional<std::uint64_t>& left,
                                 const std::optional<std::uint64_t>& right)
{
    return left || right ? std::optional{sum(left.value_or(0), right.value_or(0))} : std::nullopt;
}

/// A value of a trace as one of a document. Their nesting is limited by the reader.
Json converted(const mwtrace::Json& value)
{
    if (value.is_null())
        return nullptr;
    return Json::parse(value.dump());
}

Json call_json(const mwtrace::Recording& recording, std::size_t index)
{
    const mwtrace::Record record = recording.record(index);
    Json json = {{"line", recording.line(index)},
                 {"thread", record.thread},
                 {"at_us", value_or_null(record.time)},
                 {"took_us", value_or_null(record.taken)},
                 {"call", record.function},
                 {"calls", calls_of(record)},
                 {"given", converted(record.in)},
                 {"result", record.result},
                 {"got", converted(record.got)}};
    return json;
}

} // namespace

std::uint64_t calls_of(const mwtrace::Record& record)
{
    std::uint64_t calls = record.sizes.empty() ? 1 : 0;
    for (const auto& run : record.sizes)
        calls = sum(calls, run.count);
    return calls;
}

TraceSummary trace_summary(const mwtrace::Recording& recording)
{
    TraceSummary summary;
    std::set<unsigned> threads;
    for (std::size_t i = 0; i < recording.size(); ++i) {
        const mwtrace::Record record = recording.record(i);
        const std::uint64_t calls = calls_of(record);
        FunctionSummary& function = summary.functions[record.function];
        threads.insert(record.thread);
        summary.calls = sum(summary.calls, calls);
        function.calls = sum(function.calls, calls);
        function.taken = sum(function.taken, record.taken);
        summary.data_bytes = sum(summary.data_bytes, record.data.size());
        if (record.result != 0) {
            ++summary.failed;
            ++function.failed;
        }
        if (record.time)
            summary.end = std::max(summary.end.value_or(0), sum(*record.time, record.taken.value_or(0)));
    }
    summary.threads = threads.size();
    return summary;
}

Json trace_json(const mwtrace::Recording& recording, bool summary_only)
{
    const TraceSummary summary = trace_summary(recording);
    Json functions = Json::array();
    for (const auto& [name, function] : summary.functions)
        functions.push_back({{"call", name},
                             {"calls", function.calls},
                             {"failed", function.failed},
                             {"took_us", value_or_null(function.taken)}});
    Json json = json_document("trace");
    json["file"] = recording.path();
    json["cut"] = recording.is_cut();
    json["summary"] = {{"records", recording.size()},      {"calls", summary.calls},
                       {"failed", summary.failed},         {"threads", summary.threads},
                       {"data_bytes", summary.data_bytes}, {"end_us", value_or_null(summary.end)},
                       {"functions", std::move(functions)}};
    json["calls"] = nullptr;
    if (summary_only)
        return json;
    json["calls"] = Json::array();
    for (std::size_t i = 0; i < recording.size(); ++i)
        json["calls"].push_back(call_json(recording, i));
    return json;
}

} // namespace kvn
