// SPDX-License-Identifier: Apache-2.0
// The stream of events of a run.
#include "run/event.h"

#include "file/judgement.h"
#include "report/json.h"
#include "report/module_json.h"
#include "report/utc.h"
#include "version.h"

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <vector>

namespace kvn
{
namespace
{

constexpr std::size_t DEEPEST = 16;
constexpr std::size_t MOST_MEMBERS = 256;

constexpr std::array VERDICTS{Verdict::configured, Verdict::refused,   Verdict::failed,
                              Verdict::cancelled,  Verdict::timed_out, Verdict::not_tried};
constexpr std::array STATES{ModuleState::untouched, ModuleState::interrupted, ModuleState::refused,
                            ModuleState::configured, ModuleState::unknown};

Json planned_json(const PlannedLoad& load)
{
    return {{"module", to_text(load.module)},
            {"label", text_or_null(load.label)},
            {"file", load.file},
            {"file_sha256", value_or_null(load.file_sha256)},
            {"digest", value_or_null(load.digest)},
            {"device", value_or_null(load.device)},
            {"mode", load.mode ? Json(kind_name(*load.mode)) : Json{}},
            {"wire_bytes", value_or_null(load.wire_bytes)},
            {"seconds", value_or_null(load.seconds)},
            {"bus", to_text(load.module.board)}};
}

/// Stops the reader before what was sent can cost much: depth, members that are searched one by one.
class Limits
{
public:
    bool operator()(int depth, Json::parse_event_t event, const Json& value)
    {
        if (static_cast<std::size_t>(depth) > DEEPEST)
            throw EventError{"it has more than 16 levels"};
        if (event == Json::parse_event_t::object_start)
            names_.emplace_back();
        if (event == Json::parse_event_t::object_end)
            names_.pop_back();
        if (event == Json::parse_event_t::key)
            note(value.get_ref<const std::string&>());
        return true;
    }

private:
    void note(const std::string& name)
    {
        std::vector<std::string>& names = names_.back();
        if (names.size() == MOST_MEMBERS)
            throw EventError{"an object has more than 256 members"};
        if (std::ranges::find(names, name) != names.end())
            throw EventError{"it has the member " + name + " twice"};
        names.push_back(name);
    }

    std::vector<std::vector<std::string>> names_;
};

/// Asks for the members of an event.
class Members
{
public:
    Members(std::string event, const Json& json) : event_{std::move(event)}, json_{json} {}

    [[nodiscard]] const Json& of(const char* name) const
    {
        const auto found = json_.find(name);
        if (found == json_.end())
            throw EventError{event_ + " has no member " + name};
        return *found;
    }
    const std::string& text(const char* name) const
    {
        const Json& value = of(name);
        require(value.is_string(), name, "no text");
        return value.get_ref<const std::string&>();
    }
    void text_or_null(const char* name) const
    {
        require(of(name).is_null() || of(name).is_string(), name, "no text");
    }
    void number(const char* name) const { require(is_whole_number(of(name)), name, "no whole number"); }
    void number_or_null(const char* name) const
    {
        require(of(name).is_null() || is_whole_number(of(name)), name, "no whole number");
    }
    void seconds_or_null(const char* name) const
    {
        const Json& value = of(name);
        require(value.is_null() || (value.is_number() && value.get<double>() >= 0), name,
                "no number of seconds");
    }
    void module() const
    {
        try {
            (void)parse_module_name(text("module"));
        } catch (const FailureError&) {
            wrong("module", "no module");
        }
    }
    void require(bool good, const char* name, const char* what) const
    {
        if (!good)
            wrong(name, what);
    }

private:
    [[noreturn]] void wrong(const char* name, const char* what) const
    {
        throw EventError{event_ + ": " + name + " is " + what};
    }

    std::string event_;
    const Json& json_;
};

/// Of another version nothing is known but that its head has one.
void check_head(const Members& members, const Json& head)
{
    const std::string& version = members.text("version");
    if (!version.starts_with("1.")) {
        const auto tool = head.find("tool");
        const bool has_tool = tool != head.end() && tool->is_string();
        throw EventVersionError{version, has_tool ? tool->get<std::string>() : ""};
    }
    (void)members.text("tool");
}

void check_planned(const Members& members)
{
    const Json& modules = members.of("modules");
    members.require(modules.is_array(), "modules", "no list");
    for (const Json& each : modules) {
        members.require(each.is_object(), "modules", "no list of objects");
        const Members module{"planned", each};
        module.module();
        (void)module.text("file");
        (void)module.text("bus");
        for (const char* name : {"label", "file_sha256", "digest", "device", "mode"})
            module.text_or_null(name);
        module.number_or_null("wire_bytes");
        module.seconds_or_null("seconds");
    }
}

void check_problem(const Members& members)
{
    const std::string& severity = members.text("severity");
    members.require(severity == "problem" || severity == "note", "severity", "neither problem nor note");
    members.text_or_null("where");
    (void)members.text("what");
    members.text_or_null("remedy");
}

void check_begun(const Members& members)
{
    members.module();
    members.number("attempt");
    members.require(utc_time(members.text("at")).has_value(), "at", "no time");
}

void check_progress(const Members& members)
{
    members.module();
    members.number("bytes");
    members.number_or_null("total");
    members.seconds_or_null("seconds_left");
}

void check_finished(const Members& members)
{
    members.module();
    const Json& record = members.of("record");
    members.require(record.is_object(), "record", "no object");
    const Members facts{"record", record};
    facts.require(facts.text("module") == members.text("module"), "module", "not that of the event");
    facts.require(verdict_named(facts.text("verdict")).has_value(), "verdict", "no verdict");
    facts.require(state_named(facts.text("state")).has_value(), "state", "no state of a module");
    facts.number("attempts");
    facts.require(facts.of("failure").is_null() || facts.of("failure").is_object(), "failure", "no object");
}

void check_result(const Members& members)
{
    members.number("status");
    members.require(members.of("status").get<std::uint64_t>() <=
                        static_cast<std::uint64_t>(ExitStatus::timed_out),
                    "status", "no exit status");
    (void)members.text("class");
    const Json& counts = members.of("counts");
    members.require(counts.is_object(), "counts", "no object");
    for (const Verdict verdict : VERDICTS)
        Members{"counts", counts}.number(name_of(verdict));
}

struct EventType {
    const char* name;
    EventKind kind;
    void (*check)(const Members&);
};
constexpr EventType EVENT_TYPES[] = {
    {"planned", EventKind::planned, &check_planned},    {"problem", EventKind::problem, &check_problem},
    {"begun", EventKind::begun, &check_begun},          {"progress", EventKind::progress, &check_progress},
    {"finished", EventKind::finished, &check_finished}, {"result", EventKind::result, &check_result}};

} // namespace

void VerdictCounts::add(const VerdictCounts& others)
{
    std::ranges::transform(counts_, others.counts_, counts_.begin(), std::plus{});
}

std::size_t VerdictCounts::all() const
{
    return std::accumulate(counts_.begin(), counts_.end(), std::size_t{0});
}

Json stream_head()
{
    return {{"kvn", "events"}, {"version", EVENTS_VERSION}, {"tool", std::string{"kvn "} + TOOL_VERSION}};
}

Json planned_event(std::span<const PlannedLoad> loads)
{
    Json modules = Json::array();
    for (const PlannedLoad& load : loads)
        modules.push_back(planned_json(load));
    return {{"event", "planned"}, {"modules", std::move(modules)}};
}

Json problem_event(Severity severity, const std::string& where, const std::string& what,
                   const std::string& remedy)
{
    return {{"event", "problem"},
            {"severity", severity == Severity::problem ? "problem" : "note"},
            {"where", text_or_null(where)},
            {"what", what},
            {"remedy", text_or_null(remedy)}};
}

Json begun_event(const ModuleName& module, unsigned attempt, std::chrono::system_clock::time_point at)
{
    return {{"event", "begun"}, {"module", to_text(module)}, {"attempt", attempt}, {"at", utc_text(at)}};
}

Json progress_event(const ModuleName& module, const Progress& progress)
{
    return {{"event", "progress"},
            {"module", to_text(module)},
            {"bytes", progress.bytes},
            {"total", value_or_null(progress.total)},
            {"seconds_left", value_or_null(progress.seconds_left)}};
}

Json finished_event(const Json& record)
{
    return {{"event", "finished"}, {"module", record.at("module")}, {"record", record}};
}

Json result_event(ExitStatus status, const VerdictCounts& counts, const std::optional<Failure>& failure)
{
    Json numbers = Json::object();
    for (const Verdict verdict : VERDICTS)
        numbers[name_of(verdict)] = counts.of(verdict);
    return {{"event", "result"},
            {"status", static_cast<int>(status)},
            {"class", meaning_of(status)},
            {"counts", std::move(numbers)},
            {"failure", failure ? to_json(*failure) : Json{}}};
}

std::string event_line(const Json& event)
{
    return event.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::optional<Verdict> verdict_named(std::string_view name)
{
    const auto* const found =
        std::ranges::find_if(VERDICTS, [&](Verdict verdict) { return name == name_of(verdict); });
    return found == VERDICTS.end() ? std::nullopt : std::optional{*found};
}

std::optional<ModuleState> state_named(std::string_view name)
{
    const auto* const found =
        std::ranges::find_if(STATES, [&](ModuleState state) { return name == name_of(state); });
    return found == STATES.end() ? std::nullopt : std::optional{*found};
}

std::string Event::module() const
{
    if (kind != EventKind::begun && kind != EventKind::progress && kind != EventKind::finished)
        return {};
    return json.at("module").get<std::string>();
}

bool is_whole_number(const Json& value)
{
    return value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0);
}

Json read_json_line(std::string_view line)
{
    if (line.size() > LONGEST_EVENT_LINE)
        throw EventError{"it is longer than 16 MiB"};
    if (line.ends_with('\n'))
        line.remove_suffix(1);
    Limits limits;
    Json json = Json::parse(line, std::ref(limits), false);
    if (json.is_discarded())
        throw EventError{"it is no JSON"};
    if (!json.is_object())
        throw EventError{"it is no JSON object"};
    return json;
}

Event read_event(std::string_view line)
{
    return as_event(read_json_line(line));
}

Event as_event(Json json)
{
    if (!json.is_object())
        throw EventError{"it is no JSON object"};
    const auto stream = json.find("kvn");
    if (stream != json.end() && *stream == "events") {
        check_head({"the stream's head", json}, json);
        return {EventKind::head, std::move(json)};
    }
    const std::string& name = Members{"the line", json}.text("event");
    for (const EventType& type : EVENT_TYPES) {
        if (name != type.name)
            continue;
        type.check({name, json});
        return {type.kind, std::move(json)};
    }
    return {EventKind::other, std::move(json)};
}

} // namespace kvn
