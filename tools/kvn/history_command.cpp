// SPDX-License-Identifier: Apache-2.0
// kvn history: the last load of each module that journals have seen.
#include "commands.h"
#include "module/module_name.h"
#include "report/journal_json.h"
#include "streams.h"
#include "system/command_words.h"
#include "table.h"

#include <iostream>
#include <memory>
#include <optional>

namespace kvn
{
namespace
{

struct Request {
    std::string module;
    std::string folder = ".";
    bool json = false;
};

/// A member of the record, or of the plan where there is no record.
std::string known_text(const SeenLoad& load, const char* name)
{
    const Json& facts = load.record.is_null() ? load.planned : load.record;
    const Json value = facts.is_object() ? facts.value(name, Json{}) : Json{};
    return value.is_string() ? value.get<std::string>() : "";
}

/// "operator 7 at station 2"
std::string words_on_people(const SeenLoad& load)
{
    std::string at = load.station ? "at " + *load.station : "";
    if (!load.operator_name)
        return at;
    return *load.operator_name + (at.empty() ? "" : ' ' + at);
}

std::vector<std::string> cells(const SeenLoad& load)
{
    constexpr std::size_t SHORT_DIGEST = 12;
    const bool is_finished = !load.record.is_null();
    return {load.module,
            load.host.value_or(""),
            load.begun_at,
            is_finished ? known_text(load, "verdict") : "not finished",
            is_finished ? known_text(load, "state") : std::string{name_of(ModuleState::interrupted)},
            known_text(load, "file"),
            known_text(load, "design"),
            known_text(load, "digest").substr(0, SHORT_DIGEST),
            words_on_people(load),
            load.journal};
}

void print_history(const History& history, const Request& request)
{
    if (history.loads.empty()) {
        std::cout << "No load" << (request.module.empty() ? "" : " of " + request.module) << " is in the "
                  << history.journals << (history.journals == 1 ? " journal" : " journals") << " of "
                  << printable(request.folder) << ".\n";
        return;
    }
    Table table{{"Module", "Host", "Begun", "Verdict", "State", "File", "Design", "Digest", "By", "Journal"}};
    for (const SeenLoad& load : history.loads)
        table.add(cells(load));
    table.print(std::cout);
    std::cout << '\n' << HISTORY_REMARK << '\n';
}

/// A journal that counts only in part may hide a later load.
std::optional<Failure> failure_of(const History& history, const std::string& folder)
{
    if (history.problems.empty())
        return std::nullopt;
    const HistoryProblem& first = history.problems.front();
    const std::size_t others = history.problems.size() - 1;
    return Failure{ExitStatus::damaged, 0,
                   folder + '/' + first.journal + ": " + first.what +
                       (others == 0 ? "" : " (and " + std::to_string(others) + " more)"),
                   "a journal counts up to the first line that was changed: later loads may be missing",
                   "kvn journal verify " + system::command_word(folder + '/' + first.journal)};
}

ExitStatus show(Request request)
{
    if (!request.module.empty())
        request.module = to_text(parse_module_name(request.module));
    const History history = read_history(request.folder, request.module);
    const std::optional<Failure> failure = failure_of(history, request.folder);
    if (request.json)
        print_json(std::cout, history_document(request.folder, history, failure));
    else
        print_history(history, request);
    if (!failure)
        return ExitStatus::done;
    tell_failure("", *failure);
    return failure->status;
}

} // namespace

Action add_history(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "history", "Tells the last load of each module that journals have seen");
    add_option(*command, "module", request->module, "Only this module (mwc4a:0/1); default: all");
    add_option(*command, "--journals", request->folder,
               "The folder with the journals, of one host or of several")
        ->capture_default_str();
    add_json(*command, request->json);
    add_examples(*command, {"kvn history", "kvn history mwc4a:0/1 --journals journals --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
