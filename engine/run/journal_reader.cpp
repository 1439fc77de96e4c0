// SPDX-License-Identifier: Apache-2.0
// Reads journals, which may be any bytes, and finds what was changed in them.
#include "run/journal_reader.h"

#include "report/utc.h"
#include "run/event.h"
#include "run/journal_file.h"
#include "run/journal_line.h"

#include <unordered_map>
#include <utility>

namespace kvn
{
namespace
{

[[noreturn]] void fail_as_no_journal(const std::string& path, const std::string& why)
{
    throw FailureError{{ExitStatus::damaged, 0, path + " is no journal: " + why, "", ""}};
}

const Json& member(const Json& json, const char* name)
{
    const auto found = json.find(name);
    if (found == json.end())
        throw EventError{std::string{"it has no member "} + name};
    return *found;
}

std::string text(const Json& json, const char* name)
{
    const Json& value = member(json, name);
    if (!value.is_string())
        throw EventError{std::string{name} + " is no text"};
    return value.get<std::string>();
}

std::optional<std::string> text_or_null(const Json& json, const char* name)
{
    return member(json, name).is_null() ? std::nullopt : std::optional{text(json, name)};
}

void require_known_version(const Json& json)
{
    const std::string version = text(json, "version");
    if (!version.starts_with("1."))
        throw EventError{"its version is " + version + ", and this kvn reads 1"};
}

std::optional<ContinuedJournal> continued_journal(const Json& json, const LineSeal& seal)
{
    const std::optional<std::string> file = text_or_null(json, "continues");
    if (file.has_value() != seal.previous.has_value())
        throw EventError{"continues and previous contradict each other"};
    return file ? std::optional{ContinuedJournal{*file, *seal.previous}} : std::nullopt;
}

/// The last line that was read, without the members of the chain.
Json members_of_line(const JournalFile& file)
{
    Json json = read_json_line(file.line());
    json.erase("previous");
    json.erase("sum");
    return json;
}

Event event_of_line(const JournalFile& file)
{
    Event event = as_event(members_of_line(file));
    if (event.kind == EventKind::other && event.json["event"] == "kept") {
        Json finished = event.json; // it says the same of the module
        finished["event"] = "finished";
        (void)as_event(std::move(finished));
    }
    return event;
}

bool belongs_into_journal(const Event& event)
{
    switch (event.kind) {
    case EventKind::problem:
    case EventKind::begun:
    case EventKind::finished:
    case EventKind::result:
        return true;
    default:
        return event.json.value("event", "") == "kept";
    }
}

/// Reads the lines of a journal into its content.
class Reading
{
public:
    Reading(const std::string& path, const std::string& asked_head) : file_{path}, asked_head_{asked_head}
    {
        content_.file = path;
        content_.is_being_written = file_.is_being_written();
    }

    JournalContent content() &&
    {
        read_header();
        try {
            read_planned();
            while (file_.next())
                take(event_of_line(file_));
            content_.damage = file_.damage();
        } catch (const EventError& error) {
            content_.damage = JournalDamage{file_.number(), error.what()};
        }
        content_.torn_bytes = file_.torn_bytes();
        return std::move(content_);
    }

private:
    void read_header()
    {
        if (!file_.looks_like_journal())
            fail_as_no_journal(content_.file, "it does not begin as one");
        if (!file_.next())
            fail_as_no_journal(content_.file,
                               "line 1: " + (file_.damage() ? file_.damage()->what : "it has no end"));
        try {
            content_.header = journal_header(file_);
        } catch (const EventError& error) {
            fail_as_no_journal(content_.file, std::string{"line 1: "} + error.what());
        }
        note_line();
    }

    void read_planned()
    {
        if (!file_.next())
            return;
        Event planned = event_of_line(file_);
        if (planned.kind != EventKind::planned)
            throw EventError{"it does not say what was planned"};
        content_.planned = std::move(planned.json["modules"]);
        note_line();
    }

    void take(Event event)
    {
        content_.has_result = event.kind == EventKind::result;
        if (belongs_into_journal(event))
            content_.events.push_back(std::move(event.json));
        note_line();
    }

    void note_line()
    {
        content_.lines = file_.number();
        content_.head = file_.seal().sha256;
        content_.has_asked_head = content_.has_asked_head || content_.head == asked_head_;
    }

    JournalFile file_;
    std::string asked_head_;
    JournalContent content_;
};

/// Gathers what the events say of each module.
class Modules
{
public:
    JournalModule& of(const std::string& module)
    {
        const auto [found, is_new] = places_.try_emplace(module, all_.size());
        if (is_new)
            all_.push_back({.module = module});
        return all_[found->second];
    }

    std::vector<JournalModule> all() && { return std::move(all_); }

private:
    std::vector<JournalModule> all_;
    std::unordered_map<std::string, std::size_t> places_;
};

void take_begun(JournalModule& module, const Json& event)
{
    ++module.attempts;
    module.begun_at = event.at("at").get<std::string>();
    module.record = nullptr;
    module.verdict = Verdict::failed;
    module.state = ModuleState::interrupted;
    module.is_kept = false;
}

void take_record(JournalModule& module, const Json& event)
{
    module.record = event.at("record");
    // Both are known words: the reader has checked them.
    module.verdict = verdict_named(module.record.at("verdict").get<std::string>()).value_or(Verdict::failed);
    module.state = state_named(module.record.at("state").get<std::string>()).value_or(ModuleState::unknown);
    module.is_kept = event.at("event") == "kept";
}

} // namespace

JournalHeader journal_header(const JournalFile& file)
{
    const Json json = read_json_line(file.line());
    require_known_version(json);
    const auto at = utc_time(text(json, "at"));
    if (!at)
        throw EventError{"at is no time"};
    if (!member(json, "provider").is_object())
        throw EventError{"provider is no object"};
    return {.at = *at,
            .tool = text(json, "tool"),
            .host = text_or_null(json, "host"),
            .boot_id = text_or_null(json, "boot_id"),
            .operator_name = text_or_null(json, "operator_name"),
            .station = text_or_null(json, "station"),
            .plan = text(json, "plan"),
            .plan_sha256 = text(json, "plan_sha256"),
            .provider = member(json, "provider"),
            .continues = continued_journal(json, file.seal())};
}

JournalContent inspect_journal(const std::string& path, const std::string& asked_head)
{
    return Reading{path, asked_head}.content();
}

Failure journal_failure(const std::string& path, const JournalDamage& damage)
{
    return {ExitStatus::damaged, 0,
            path + " was changed: line " + std::to_string(damage.line) + ": " + damage.what, "",
            "use an unchanged copy of the journal"};
}

JournalContent read_journal(const std::string& path)
{
    JournalContent content = inspect_journal(path);
    if (content.damage)
        throw FailureError{journal_failure(path, *content.damage)};
    return content;
}

std::vector<JournalModule> modules_of(const JournalContent& journal)
{
    Modules modules;
    for (const Json& planned : journal.planned)
        modules.of(planned.at("module").get<std::string>()).planned = planned;
    for (const Json& event : journal.events) {
        const auto module = event.find("module");
        if (module == event.end())
            continue;
        JournalModule& known = modules.of(module->get<std::string>());
        event.at("event") == "begun" ? take_begun(known, event) : take_record(known, event);
    }
    return std::move(modules).all();
}

} // namespace kvn
