// SPDX-License-Identifier: Apache-2.0
// kvn journal: checks the file that a run has left, and shows what it knows of each module.
#include "commands.h"
#include "lines.h"
#include "report/journal_json.h"
#include "report/utc.h"
#include "run/journal_line.h"
#include "streams.h"
#include "table.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string action;
    std::string file;
    std::string head;
    bool json = false;
};

std::string words_on_end(const JournalContent& journal)
{
    if (journal.is_being_written)
        return "goes on";
    if (journal.has_result)
        return "has ended, and says how";
    return "has no result: it was killed, or the last lines were removed";
}

void print_verification(const JournalContent& journal, const Request& request)
{
    Lines lines{std::cout};
    lines.add("Journal", printable(journal.file));
    lines.add("Begun", utc_text(journal.header.at) + " on " +
                           printable(journal.header.host.value_or("an unknown host")) + ", plan " +
                           printable(journal.header.plan));
    if (const auto& continues = journal.header.continues)
        lines.add("Continues", printable(continues->file) + ", head " + continues->head);
    lines.add("Lines", std::to_string(journal.lines) + ", each as it was written");
    lines.add("Head", journal.head);
    lines.add("Run", words_on_end(journal));
    const JournalVerdict verdict = verdict_on(journal, request.head);
    lines.add("Result", coloured(name_of(verdict), verdict == JournalVerdict::unchanged));
}

ExitStatus verify(const Request& request)
{
    const JournalContent journal = inspect_journal(request.file, request.head);
    const std::optional<Failure> failure = verification_failure(journal, request.head);
    if (request.json)
        print_json(std::cout, verification_document(journal, request.head));
    else
        print_verification(journal, request);
    if (!failure)
        return ExitStatus::done;
    tell_failure("", *failure);
    return failure->status;
}

/// A member of the record, or of the plan where there is no record.
std::string known_text(const JournalModule& module, const char* name)
{
    const Json& facts = module.record.is_null() ? module.planned : module.record;
    const auto found = facts.is_object() ? facts.find(name) : facts.end();
    return facts.is_object() && found != facts.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string remark_on(const JournalModule& module)
{
    if (module.is_kept)
        return "kept from the journal before";
    if (module.state == ModuleState::interrupted && module.record.is_null())
        return "begun, and not finished";
    const Json failure = module.record.is_object() ? module.record.value("failure", Json{}) : Json{};
    const Json what = failure.is_object() ? failure.value("what", Json{}) : Json{};
    return what.is_string() ? what.get<std::string>() : "";
}

void print_records(const JournalContent& journal)
{
    Table table{{"Module", "Verdict", "State", "Begun", "Attempts", "File", "Device", "Remark"}};
    for (const JournalModule& module : modules_of(journal))
        table.add({module.module, name_of(module.verdict), std::string{name_of(module.state)},
                   module.begun_at.value_or(""),
                   module.attempts == 0 ? std::string{} : std::to_string(module.attempts),
                   known_text(module, "file"), known_text(module, "device"), remark_on(module)});
    table.print(std::cout);
}

ExitStatus show(const Request& request)
{
    const JournalContent journal = read_journal(request.file);
    if (request.json)
        print_json(std::cout, records_document(journal));
    else
        print_records(journal);
    if (!journal.has_result)
        tell(journal.file + ": the run " + words_on_end(journal));
    return ExitStatus::done;
}

ExitStatus act(const Request& request)
{
    if (!request.head.empty() && (request.action != "verify" || !is_sha256(request.head)))
        throw UsageError{
            "--head takes the SHA-256 of a line, for verify: 64 hexadecimal digits in lower case"};
    return request.action == "verify" ? verify(request) : show(request);
}

} // namespace

Action add_journal(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "journal", "Checks the journal of a run, or shows its records");
    add_option(*command, "action", request->action,
               "verify: find changed bytes and a torn last line; show: the record of each module")
        ->required()
        ->check(one_of({"verify", "show"}));
    add_option(*command, "file", request->file, "The journal")->required();
    add_option(*command, "--head", request->head,
               "The SHA-256 of a line, noted when the journal had come so far; verify looks for it");
    add_json(*command, request->json);
    add_examples(*command, {"kvn journal verify rack.journal", "kvn journal show rack.journal --json"});
    return [request] { return act(*request); };
}

} // namespace kvn
