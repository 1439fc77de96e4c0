// SPDX-License-Identifier: Apache-2.0
// The JSON documents about journals.
#include "report/journal_json.h"

#include "report/json.h"

namespace kvn
{
namespace
{

Json header_json(const JournalHeader& header)
{
    Json json = header_facts(header);
    json["continues"] = nullptr;
    if (header.continues)
        json["continues"] = {{"file", header.continues->file}, {"head", header.continues->head}};
    return json;
}

Json module_json(const JournalModule& module)
{
    return {{"module", module.module},        {"verdict", name_of(module.verdict)},
            {"state", name_of(module.state)}, {"begun_at", value_or_null(module.begun_at)},
            {"attempts", module.attempts},    {"kept", module.is_kept},
            {"planned", module.planned},      {"record", module.record}};
}

Json load_json(const SeenLoad& load)
{
    return {{"host", value_or_null(load.host)},
            {"module", load.module},
            {"begun_at", load.begun_at},
            {"finished", !load.record.is_null()},
            {"operator_name", value_or_null(load.operator_name)},
            {"station", value_or_null(load.station)},
            {"journal", load.journal},
            {"line", load.line},
            {"planned", load.planned},
            {"record", load.record}};
}

Json error_json(const std::optional<Failure>& failure)
{
    return failure ? failure_json(*failure)["error"] : Json{};
}

} // namespace

const char* name_of(JournalVerdict verdict)
{
    constexpr const char* names[] = {"unchanged", "torn", "changed"};
    return names[static_cast<int>(verdict)];
}

JournalVerdict verdict_on(const JournalContent& journal, const std::string& asked_head)
{
    if (journal.damage || (!asked_head.empty() && !journal.has_asked_head))
        return JournalVerdict::changed;
    return journal.torn_bytes != 0 && !journal.is_being_written ? JournalVerdict::torn
                                                                : JournalVerdict::unchanged;
}

std::optional<Failure> verification_failure(const JournalContent& journal, const std::string& asked_head)
{
    if (journal.damage)
        return journal_failure(journal.file, *journal.damage);
    switch (verdict_on(journal, asked_head)) {
    case JournalVerdict::unchanged:
        return std::nullopt;
    case JournalVerdict::torn:
        return Failure{ExitStatus::damaged, 0,
                       journal.file + ": the last line was cut off after " +
                           std::to_string(journal.torn_bytes) + " bytes",
                       "the run was killed, or the disk was full, while it was written",
                       "the lines before it can be used: kvn run --resume"};
    default:
        return Failure{
            ExitStatus::damaged, 0, journal.file + " was changed: no line has the SHA-256 " + asked_head,
            "lines were calculated again, or removed at the end", "use an unchanged copy of the journal"};
    }
}

Json verification_document(const JournalContent& journal, const std::string& asked_head)
{
    Json json = json_document("verification");
    json["error"] = error_json(verification_failure(journal, asked_head));
    json["file"] = journal.file;
    json["result"] = name_of(verdict_on(journal, asked_head));
    json["journal"] = header_json(journal.header);
    json["lines"] = journal.lines;
    json["head"] = journal.head;
    json["asked_head"] = asked_head.empty() ? Json{} : Json(asked_head);
    json["torn_bytes"] = journal.torn_bytes;
    json["being_written"] = journal.is_being_written;
    json["ended"] = journal.has_result;
    json["damage"] =
        journal.damage ? Json{{"line", journal.damage->line}, {"what", journal.damage->what}} : Json{};
    return json;
}

Json records_document(const JournalContent& journal)
{
    Json json = json_document("records");
    json["file"] = journal.file;
    json["journal"] = header_json(journal.header);
    json["being_written"] = journal.is_being_written;
    json["ended"] = journal.has_result;
    json["modules"] = Json::array();
    for (const JournalModule& module : modules_of(journal))
        json["modules"].push_back(module_json(module));
    return json;
}

Json history_document(const std::string& folder, const History& history,
                      const std::optional<Failure>& failure)
{
    Json json = json_document("history");
    json["error"] = error_json(failure);
    json["folder"] = folder;
    json["journals"] = history.journals;
    json["records"] = history.records;
    json["remark"] = HISTORY_REMARK;
    json["loads"] = Json::array();
    for (const SeenLoad& load : history.loads)
        json["loads"].push_back(load_json(load));
    json["problems"] = Json::array();
    for (const HistoryProblem& problem : history.problems)
        json["problems"].push_back({{"journal", problem.journal}, {"what", problem.what}});
    return json;
}

} // namespace kvn
