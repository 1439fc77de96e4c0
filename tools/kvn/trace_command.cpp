// SPDX-License-Identifier: Apache-2.0
// kvn trace: a recording of platform calls as a table.
#include "commands.h"
#include "errors/failure.h"
#include "lines.h"
#include "recording.h"
#include "report/json.h"
#include "system/regular_file.h"
#include "table.h"
#include "trace_report.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

using mwtrace::Recording;

/// Of a text or of bytes; the rest is cut off.
constexpr std::size_t LONGEST_VALUE = 48;
constexpr std::size_t FIRST_BYTES = 8;

struct Request {
    std::string file;
    bool summary = false;
    bool json = false;
};

std::string cut(std::string text)
{
    if (text.size() > LONGEST_VALUE)
        text.replace(LONGEST_VALUE - 3, std::string::npos, "...");
    return text;
}

/// "08 00 00 00 00 05, 12 bytes"
std::string bytes_text(const mwtrace::Bytes& bytes)
{
    const std::size_t shown = std::min(bytes.size(), FIRST_BYTES);
    const std::string first = mwtrace::hex({bytes.data(), shown});
    return shown == bytes.size() ? first : first + " ... (" + std::to_string(bytes.size()) + " bytes)";
}

std::string value_text(const mwtrace::Json& value)
{
    if (value.is_null())
        return "null";
    if (const auto* text = value.text())
        return cut("\"" + *text + "\"");
    if (value.is_object())
        if (const auto bytes = mwtrace::bytes_from_json(value))
            return bytes_text(*bytes);
    return cut(value.dump());
}

/// "data 03 05, handle 1"
std::string members_text(const mwtrace::Json& object)
{
    std::string text;
    if (const auto* members = object.members())
        for (const auto& [name, value] : *members)
            text += (text.empty() ? "" : ", ") + name + " " + value_text(value);
    return text;
}

/// The pieces of a message are told as a whole.
std::string given_text(const mwtrace::Record& record)
{
    if (record.sizes.empty())
        return members_text(record.in);
    return "handle " + std::to_string(record.handle) + ", " + std::to_string(calls_of(record)) +
           " calls, data " + (record.data_is_null ? "null" : bytes_text(record.data));
}

std::string result_text(std::uint32_t result)
{
    return result == 0 ? "0" : "0x" + in_hex(result);
}

std::string time_text(const std::optional<std::uint64_t>& microseconds)
{
    constexpr double second = 1e6;
    return microseconds ? fixed(static_cast<double>(*microseconds) / second, 6) : "";
}

void print_table(const Recording& recording)
{
    Table table{{"Line", "Thread", "At s", "Took s", "Call", "Given", "Result", "Got"}};
    const bool threads = trace_summary(recording).threads > 1;
    for (std::size_t i = 0; i < recording.size(); ++i) {
        const mwtrace::Record record = recording.record(i);
        table.add({std::to_string(recording.line(i)), threads ? std::to_string(record.thread) : "",
                   time_text(record.time), time_text(record.taken), record.function, given_text(record),
                   result_text(record.result), members_text(record.got)});
    }
    table.print(std::cout);
}

void print_summary(const Recording& recording)
{
    const TraceSummary summary = trace_summary(recording);
    Lines lines{std::cout};
    lines.add("File", printable(recording.path()));
    lines.add("Calls", std::to_string(summary.calls) + " in " + std::to_string(recording.size()) +
                           " records of " + std::to_string(summary.threads) +
                           (summary.threads == 1 ? " thread" : " threads"));
    lines.add("Failed", std::to_string(summary.failed));
    if (summary.end)
        lines.add("Time", time_text(summary.end) + " s");
    lines.add("Data sent", std::to_string(summary.data_bytes) + " bytes in messages of several calls");
    if (recording.is_cut())
        lines.add("Note", "the file ends inside a line: the recording was cut off");
    Table table{{"Call", "Calls", "Failed", "Took s"}};
    for (const auto& [name, function] : summary.functions)
        table.add({name, std::to_string(function.calls), std::to_string(function.failed),
                   time_text(function.taken)});
    table.print(std::cout);
}

/// A file that cannot be read is told from one that is no trace.
void require_readable(const std::string& file)
{
    const auto opened = system::RegularFile::to_read(file.c_str());
    if (!opened.is_open())
        throw FailureError{
            {.status = ExitStatus::file, .what = file + ": " + opened.problem(), .remedy = "check the name"}};
}

Recording read(const std::string& file)
{
    require_readable(file);
    try {
        return Recording{file};
    } catch (const mwtrace::TraceError& error) {
        throw FailureError{{.status = ExitStatus::damaged,
                            .what = error.what(),
                            .why = "a trace is what libmwtrace.so or the virtual carriers record",
                            .remedy = "record the run again"}};
    }
}

ExitStatus show(const Request& request)
{
    const Recording recording = read(request.file);
    if (request.json)
        print_json(std::cout, trace_json(recording, request.summary));
    else if (request.summary)
        print_summary(recording);
    else
        print_table(recording);
    if (recording.is_cut() && !request.summary)
        tell(recording.path() + ": the file ends inside a line: the recording was cut off");
    return ExitStatus::done;
}

} // namespace

Action add_trace(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "trace", "Shows a recording of platform calls as a table");
    add_option(*command, "file", request->file, "The recording")->required();
    add_flag(*command, "--summary", request->summary, "Count the calls only");
    add_json(*command, request->json);
    add_examples(*command, {"kvn trace run.jsonl", "kvn trace run.jsonl --summary --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
