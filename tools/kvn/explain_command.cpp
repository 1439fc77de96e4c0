// SPDX-License-Identifier: Apache-2.0
// kvn explain: what an error number means, what it leaves behind and what to do.
#include "commands.h"
#include "errors/catalogue.h"
#include "report.h"

#include <cstdlib>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::vector<int> numbers;
    bool json = false;
};

/// The texts that a number has: one, or two.
std::vector<const ErrorEntry*> entries_of(int number)
{
    std::vector<const ErrorEntry*> found;
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            if (entry.number == number)
                found.push_back(&entry);
    return found;
}

int nearest_number(int wanted)
{
    int nearest = 0;
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            if (nearest == 0 || std::abs(entry.number - wanted) < std::abs(nearest - wanted))
                nearest = entry.number;
    return nearest;
}

void print_line(const char* label, std::string_view words)
{
    if (!words.empty())
        std::cout << label << plain_text(words) << '\n';
}

void print_entry(const ErrorEntry& entry)
{
    const TopicEntry* topic = find_topic(entry.topic);
    std::cout << "Error:          " << entry.number << '\n';
    std::cout << "Text:           " << entry.text << '\n';
    print_line("Meaning:        ", entry.meaning);
    print_line("Why:            ", topic == nullptr ? "" : topic->causes);
    print_line("Try:            ", entry.remedy);
    print_line("Try:            ", topic == nullptr ? "" : topic->remedy);
    std::cout << "Module:         " << name_of(entry.state) << ": " << meaning_of(entry.state) << '\n';
    std::cout << "Exit status:    " << static_cast<int>(entry.status) << ", " << meaning_of(entry.status)
              << '\n';
}

Json to_json(const ErrorEntry& entry)
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

/// One line for each number.
void print_list()
{
    for (const ErrorSection& section : error_sections()) {
        std::cout << section.title << '\n';
        for (const ErrorEntry& entry : section.entries)
            std::cout << "  " << entry.number << "  " << plain_text(entry.meaning) << '\n';
    }
}

std::vector<const ErrorEntry*> all_entries()
{
    std::vector<const ErrorEntry*> all;
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            all.push_back(&entry);
    return all;
}

int explain(const Request& request)
{
    std::vector<const ErrorEntry*> entries;
    for (const int number : request.numbers) {
        const auto found = entries_of(number);
        if (found.empty())
            throw UsageError{"no error has the number " + std::to_string(number) + "; the nearest is " +
                             std::to_string(nearest_number(number)) + ". kvn explain lists all"};
        entries.insert(entries.end(), found.begin(), found.end());
    }
    if (request.json) {
        Json json = {{"kvn", "errors"}, {"version", JSON_VERSION}, {"errors", Json::array()}};
        for (const ErrorEntry* entry : request.numbers.empty() ? all_entries() : entries)
            json["errors"].push_back(to_json(*entry));
        print_json(std::cout, json);
        return YES;
    }
    if (request.numbers.empty())
        print_list();
    for (const ErrorEntry* entry : entries) {
        if (entry != entries.front())
            std::cout << '\n';
        print_entry(*entry);
    }
    return YES;
}

} // namespace

Action add_explain(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand("explain", "Explains error numbers; lists all without one");
    command->add_option("number", request->numbers, "Error numbers, such as 9103");
    command->add_flag("--json", request->json, "Print JSON");
    return [request] { return explain(*request); };
}

} // namespace kvn
