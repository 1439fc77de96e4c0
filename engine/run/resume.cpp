// SPDX-License-Identifier: Apache-2.0
// What a run that was not finished leaves to do.
#include "run/resume.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kvn
{
namespace
{

/// A member that is a text, or what stands for one that is not known.
std::string text_of(const Json& json, const char* name, const char* unknown = "unknown")
{
    const auto found = json.is_object() ? json.find(name) : json.end();
    return json.is_object() && found != json.end() && found->is_string() ? found->get<std::string>()
                                                                         : unknown;
}

bool is_known(const Json& json, const char* name)
{
    const auto found = json.is_object() ? json.find(name) : json.end();
    return json.is_object() && found != json.end() && !found->is_null();
}

std::string word_of(const std::optional<std::string>& text)
{
    return text.value_or("unknown");
}

bool is_same_provider(const Json& then, const Json& now)
{
    for (const char* name : {"name", "file", "simulated"})
        if (then.value(name, Json{}) != now.value(name, Json{}))
            return false;
    return true;
}

std::string name_of_provider(const Json& provider)
{
    return text_of(provider, "file", text_of(provider, "name").c_str());
}

/// Compares a journal with what is planned now.
class Comparison
{
public:
    Comparison(const JournalContent& journal, const ResumeRequest& request)
        : journal_{journal}, request_{request}, modules_{modules_of(journal)}
    {
        for (const JournalModule& module : modules_)
            by_name_[module.module] = &module;
        result_.continues = {journal.file, journal.head};
    }

    Resumption result() &&
    {
        compare_circumstances();
        compare_plans();
        compare_boots();
        for (const Json& planned : request_.planned)
            sort(planned);
        note_torn_line();
        refuse();
        return std::move(result_);
    }

private:
    void compare_circumstances()
    {
        const JournalHeader& header = journal_.header;
        if (header.host != request_.host) {
            change("the journal is of the host " + word_of(header.host) + ", and this is " +
                   word_of(request_.host));
            holds_nothing_ = true;
        }
        if (!is_same_provider(header.provider, request_.provider)) {
            change("the journal is of the provider " + name_of_provider(header.provider) + ", and this is " +
                   name_of_provider(request_.provider));
            holds_nothing_ = true;
        }
        if (header.plan_sha256 != request_.plan_sha256)
            change("the plan " + header.plan + " has changed");
    }

    void compare_plans()
    {
        std::unordered_set<std::string> planned_now;
        for (const Json& planned : request_.planned) {
            const std::string name = text_of(planned, "module");
            planned_now.insert(name);
            const JournalModule* const module = find(name);
            if (module == nullptr || module->planned.is_null())
                change(name + " was not planned");
            else
                compare(*module, planned);
        }
        for (const JournalModule& module : modules_)
            if (!module.planned.is_null() && !planned_now.contains(module.module))
                change(module.module + " is no longer planned");
    }

    void compare(const JournalModule& module, const Json& planned)
    {
        compare(module, planned, "file_sha256", "the file " + text_of(planned, "file") + " has the SHA-256 ");
        compare(module, planned, "digest", "the configuration has the digest ");
        compare(module, planned, "device", "the module has the device ");
        compare(module, planned, "mode", "the load has the mode ");
    }

    void compare(const JournalModule& module, const Json& planned, const char* name, const std::string& what)
    {
        if (module.planned.value(name, Json{}) == planned.value(name, Json{}))
            return;
        change(module.module + ": " + what + text_of(planned, name) + ", and had " +
               text_of(module.planned, name));
        changed_.insert(module.module);
    }

    void compare_boots()
    {
        if (holds_nothing_)
            return;
        const std::optional<std::string>& then = journal_.header.boot_id;
        if (then && then == request_.boot_id)
            return;
        const bool is_known = then && request_.boot_id;
        note(
            is_known
                ? "the host has started again since the journal was begun: modules may have lost their "
                  "configurations with the power, and all are loaded again"
                : "it is not known whether the host has started again since the journal was begun: all modules "
                  "are loaded again");
        holds_nothing_ = true;
    }

    void sort(const Json& planned)
    {
        const std::string name = text_of(planned, "module");
        const JournalModule* const module = find(name);
        if (module == nullptr || !is_done(*module, planned)) {
            result_.remaining.push_back(name);
            return;
        }
        result_.kept.push_back({name, module->record,
                                "configured at " + text_of(module->record, "end", "an unknown time") +
                                    " from " + text_of(module->record, "file", "an unknown file") + ", as " +
                                    journal_.file + " says"});
    }

    [[nodiscard]] bool is_done(const JournalModule& module, const Json& planned) const
    {
        return !holds_nothing_ && !changed_.contains(module.module) &&
               module.state == ModuleState::configured && is_known(module.record, "file_sha256") &&
               is_known(planned, "file_sha256") &&
               module.record.at("file_sha256") == planned.at("file_sha256");
    }

    void note_torn_line()
    {
        if (journal_.torn_bytes != 0)
            note("the last line of " + journal_.file +
                 " was cut off while it was written, and does not count");
    }

    void refuse()
    {
        if (journal_.damage)
            result_.refusal = journal_failure(journal_.file, *journal_.damage);
        else if (journal_.is_being_written)
            refuse("its run goes on in another process", "wait for its end");
        else if (!result_.changes.empty() && !request_.despite_changes)
            refuse(
                result_.changes.front() + other_changes(),
                "load everything by a run without --resume, or keep what has not changed by --resume-anyway");
    }

    [[nodiscard]] std::string other_changes() const
    {
        const std::size_t others = result_.changes.size() - 1;
        return others == 0
                   ? ""
                   : " (and " + std::to_string(others) + (others == 1 ? " change" : " changes") + " more)";
    }

    void refuse(const std::string& why, const char* remedy)
    {
        result_.refusal = Failure{ExitStatus::rehearsal, 0,
                                  "the run of " + journal_.file + " cannot go on: " + why, "", remedy};
    }

    [[nodiscard]] const JournalModule* find(const std::string& name) const
    {
        const auto found = by_name_.find(name);
        return found == by_name_.end() ? nullptr : found->second;
    }

    void change(std::string sentence) { result_.changes.push_back(std::move(sentence)); }
    void note(std::string_view sentence) { result_.notes.emplace_back(sentence); }

    const JournalContent& journal_;
    const ResumeRequest& request_;
    std::vector<JournalModule> modules_;
    std::unordered_map<std::string, const JournalModule*> by_name_;
    std::unordered_set<std::string> changed_; ///< modules of which the load is another one now
    bool holds_nothing_ = false;              ///< no module holds what the journal says, as far as is known
    Resumption result_;
};

} // namespace

Resumption resume(const JournalContent& journal, const ResumeRequest& request)
{
    return Comparison{journal, request}.result();
}

} // namespace kvn
