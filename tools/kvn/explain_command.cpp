// SPDX-License-Identifier: Apache-2.0
// kvn explain: what an error number means, what it leaves behind and what to do.
#include "commands.h"
#include "errors/catalogue.h"
#include "report/errors_json.h"

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

void print_status(int status)
{
    const VerdictEntry* verdict = find_verdict(status);
    const ModuleState state = status == CONFIGURED_STATUS ? ModuleState::configured : ModuleState::refused;
    std::cout << "Load status:    " << status << '\n';
    print_line("Meaning:        ", meaning_of_status(status));
    print_line("Try:            ", verdict == nullptr ? "" : verdict->remedy);
    print_line("Real modules:   ", about_statuses());
    std::cout << "Module:         " << name_of(state) << ": " << meaning_of(state) << '\n';
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

[[noreturn]] void refuse(int number)
{
    throw UsageError{"no error has the number " + std::to_string(number) + "; the nearest is " +
                     std::to_string(nearest_number(number)) + ". kvn explain lists all"};
}

void print_all(const std::vector<int>& numbers)
{
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (is_load_status(numbers[i])) {
            std::cout << (i == 0 ? "" : "\n");
            print_status(numbers[i]);
        }
        for (const ErrorEntry* entry : entries_of(numbers[i])) {
            std::cout << (i == 0 && entry == find_error(numbers[i]) ? "" : "\n");
            print_entry(*entry);
        }
    }
}

ExitStatus explain(const Request& request)
{
    for (const int number : request.numbers)
        if (!is_load_status(number) && find_error(number) == nullptr)
            refuse(number);
    if (request.json)
        print_json(std::cout, errors_document(request.numbers));
    else if (request.numbers.empty())
        print_list();
    else
        print_all(request.numbers);
    return ExitStatus::done;
}

} // namespace

Action add_explain(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "explain", "Explains error numbers and the statuses of loads");
    add_option(*command, "number", request->numbers,
               "Error numbers (9103), or statuses of a load (4); default: a list of all errors");
    add_examples(*command, {"kvn explain 9103", "kvn explain 4 --json"});
    add_json(*command, request->json);
    return [request] { return explain(*request); };
}

} // namespace kvn
