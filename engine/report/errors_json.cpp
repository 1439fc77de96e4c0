// SPDX-License-Identifier: Apache-2.0
// The catalogue of errors as JSON.
#include "report/errors_json.h"

namespace kvn
{
namespace
{

Json status_json(int status)
{
    const VerdictEntry* verdict = find_verdict(status);
    Json json;
    json["status"] = status;
    json["meaning"] = plain_text(meaning_of_status(status));
    json["remedy"] = verdict == nullptr ? Json{} : Json(plain_text(verdict->remedy));
    json["virtual"] = verdict != nullptr;
    json["real_modules"] = about_statuses();
    json["success"] = status == CONFIGURED_STATUS;
    return json;
}

Json entry_json(const ErrorEntry& entry)
{
    const TopicEntry* topic = find_topic(entry.topic);
    Json json;
    json["number"] = entry.number;
    json["text"] = entry.text;
    json["meaning"] = plain_text(entry.meaning);
    json["causes"] = topic == nullptr ? Json{} : Json(plain_text(topic->causes));
    json["remedy"] = Json::array();
    for (const std::string_view remedy : {entry.remedy, topic == nullptr ? "" : topic->remedy})
        if (!remedy.empty())
            json["remedy"].push_back(plain_text(remedy));
    json["module_state"] = name_of(entry.state);
    json["class"] = meaning_of(entry.status);
    json["exit_status"] = static_cast<int>(entry.status);
    return json;
}

void add_all(Json& document)
{
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            document["errors"].push_back(entry_json(entry));
    for (const VerdictEntry& verdict : verdicts())
        document["statuses"].push_back(status_json(verdict.status));
}

} // namespace

bool is_load_status(int number)
{
    return number >= 0 && number <= 0xFF;
}

std::vector<const ErrorEntry*> entries_of(int number)
{
    std::vector<const ErrorEntry*> found;
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            if (entry.number == number)
                found.push_back(&entry);
    return found;
}

std::string_view meaning_of_status(int status)
{
    const VerdictEntry* verdict = find_verdict(status);
    return verdict == nullptr ? "Virtual modules do not give this status." : verdict->meaning;
}

Json errors_document(std::span<const int> numbers)
{
    Json json = json_document("errors");
    json["errors"] = Json::array();
    json["statuses"] = Json::array();
    for (const int number : numbers) {
        if (is_load_status(number))
            json["statuses"].push_back(status_json(number));
        for (const ErrorEntry* entry : entries_of(number))
            json["errors"].push_back(entry_json(*entry));
    }
    if (numbers.empty())
        add_all(json);
    return json;
}

} // namespace kvn
