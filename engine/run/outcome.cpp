// SPDX-License-Identifier: Apache-2.0
// What a run says of modules that no worker can speak for, and how it ends.
#include "run/outcome.h"

#include "system/host.h"
#include "version.h"

namespace kvn
{
namespace
{

template <class Value>
std::optional<Fact<Value>> fact(const std::optional<Value>& value, Source source)
{
    if (!value)
        return std::nullopt;
    return Fact<Value>{*value, source};
}

std::optional<Fact<std::string>> fact_if_any(const std::string& text, Source source)
{
    if (text.empty())
        return std::nullopt;
    return Fact<std::string>{text, source};
}

/// What was known before the load.
Record record_of(const ModuleLoad& load, const RunFacts& facts)
{
    const JudgedFile& judged = load.judged;
    Record record;
    record.module = {load.module, Source::given};
    record.file = Fact<std::string>{load.file->name(), Source::given};
    record.file_size = Fact<std::uint64_t>{load.file->stored().size, Source::observed};
    record.file_sha256 = fact_if_any(load.file->stored().sha256, Source::observed);
    record.digest = fact_if_any(judged.digest, Source::observed);
    if (judged.format != Format::unknown)
        record.format = Fact<std::string>{format_name(judged.format), Source::observed};
    record.design = fact(judged.design, Source::observed);
    record.part = fact_if_any(judged.part, Source::observed);
    record.problems = judged.problems;
    record.device = fact_if_any(judged.device, Source::observed);
    record.mode = Fact<LoadKind>{judged.mode, Source::intended};
    record.wire_bytes = Fact<std::uint64_t>{judged.wire_bytes, Source::intended};
    record.serial_number = fact(load.serial_number, Source::given);
    record.operator_name = fact(facts.operator_name, Source::given);
    record.station = fact(facts.station, Source::given);
    record.approved_by = fact(facts.approved_by, Source::observed);
    record.approval_key = fact(facts.approval_key, Source::observed);
    record.host = fact(system::host_name(), Source::observed);
    record.tool_version = TOOL_VERSION;
    record.provider = facts.provider;
    return record;
}

ModuleState state_of(const LostLoad& lost, bool timed_out)
{
    if (!lost.was_begun)
        return ModuleState::untouched;
    const bool is_partly_sent = lost.bytes != 0 && !lost.may_have_ended;
    return is_partly_sent && !timed_out ? ModuleState::interrupted : ModuleState::unknown;
}

Verdict verdict_of(const LostLoad& lost, ExitStatus status)
{
    if (status == ExitStatus::timed_out)
        return Verdict::timed_out;
    if (status == ExitStatus::cancelled)
        return Verdict::cancelled;
    return lost.was_begun ? Verdict::failed : Verdict::not_tried;
}

} // namespace

Record not_tried(const ModuleLoad& load, const RunFacts& facts, const Failure& failure)
{
    Record record = record_of(load, facts);
    record.failure = failure;
    return record;
}

Record lost(const ModuleLoad& load, const RunFacts& facts, const LostLoad& lost, const Failure& failure)
{
    Record record = record_of(load, facts);
    record.begin = lost.begin;
    record.end = lost.end;
    record.failure = failure;
    record.verdict = verdict_of(lost, failure.status);
    record.state = state_of(lost, failure.status == ExitStatus::timed_out);
    if (lost.was_begun) {
        record.attempts = 1;
        record.mode->source = Source::observed;
        // How many bytes went out after the last time that the worker told is not known.
        record.wire_bytes.reset();
    }
    return record;
}

Json after_attempts(Json record, const Json& earlier)
{
    const std::string_view untouched = name_of(ModuleState::untouched);
    if (record.at("state") != untouched || earlier.at("state") == untouched)
        return record;
    const Json& sources = earlier.at("sources");
    for (const char* name : {"mode", "wire_bytes", "seconds_on_wire", "state", "answer"}) {
        record[name] = earlier.at(name);
        record["sources"].erase(name);
        if (sources.contains(name))
            record["sources"][name] = sources[name];
    }
    if (record["verdict"] == name_of(Verdict::not_tried))
        record["verdict"] = name_of(Verdict::failed);
    return record;
}

void RunStatus::add(const Json& record)
{
    counts_.add(verdict_named(record.at("verdict").get<std::string>()).value_or(Verdict::failed));
    const Json& failure = record.at("failure");
    ExitStatus status = ExitStatus::done;
    if (failure.is_object() && failure.contains("status") && failure["status"].is_number_integer())
        status = static_cast<ExitStatus>(failure["status"].get<int>());
    if (!status_)
        status_ = status;
    else if (*status_ != status)
        status_ = ExitStatus::several;
}

} // namespace kvn
