// SPDX-License-Identifier: Apache-2.0
// What the commands of kvn share in reading the command line.
#include "command_line.h"

#include "config/nearest_word.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace kvn
{
namespace
{

constexpr Adder all_subcommands[] = {add_list,    add_load,     add_run,     add_station,   add_plan,
                                     add_worker,  add_convert,  add_info,    add_check,     add_digest,
                                     add_diff,    add_estimate, add_explain, add_trace,     add_report,
                                     add_support, add_journal,  add_history, add_completion};

/// "; did you mean load?", or the end of the sentence.
std::string did_you_mean(std::string_view word, const std::vector<std::string>& known)
{
    const std::string nearest{config::nearest_word(word, {known.begin(), known.end()})};
    return nearest.empty() ? "." : "; did you mean " + nearest + "?";
}

std::vector<std::string> command_names(const CLI::App& program)
{
    std::vector<std::string> names;
    for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

/// The first word on the command line that looks like an option and is none of the command's.
std::string unknown_option(const CLI::App& program)
{
    const std::vector<std::string> rest = program.remaining(true);
    const auto found = std::ranges::find_if(
        rest, [](const std::string& word) { return word.starts_with('-') && word != "--json"; });
    return found == rest.end() ? "" : found->substr(0, found->find('='));
}

std::vector<std::string> option_names(const CLI::App& program)
{
    std::vector<std::string> names;
    for (const CLI::App* command : program.get_subcommands())
        for (const CLI::Option* option : command->get_options())
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
    return names;
}

} // namespace

std::span<const Adder> subcommands()
{
    return all_subcommands;
}

bool asks_for_json(int argc, char** argv)
{
    // The option of kvn report names a file, which may be standard output.
    const bool names_file = argc > 1 && std::string_view{argv[1]} == "report";
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--json" && (!names_file || (i + 1 < argc && std::string_view{argv[i + 1]} == "-")))
            return true;
        if (word == "--json=-" && names_file)
            return true;
    }
    return false;
}

void require_known_command(const CLI::App& program, int argc, char** argv)
{
    if (argc < 2 || *argv[1] == '-')
        return;
    const std::vector<std::string> names = command_names(program);
    if (std::ranges::find(names, argv[1]) == names.end())
        throw UsageError{"there is no command " + std::string{argv[1]} + did_you_mean(argv[1], names) +
                         " kvn --help lists all"};
}

std::string usage_problem(const CLI::App& program, const CLI::ParseError& error)
{
    const auto given = program.get_subcommands();
    const std::string help = given.empty() ? "kvn --help" : "kvn " + given.front()->get_name() + " --help";
    const std::string option = unknown_option(program);
    if (!option.empty())
        return "there is no option " + option + did_you_mean(option, option_names(program)) + " " + help +
               " lists all";
    if (given.empty())
        return "no command is given; " + help + " lists all";
    return std::string{error.what()} + "; " + help + " tells more";
}

CLI::App* add_command(CLI::App& program, const char* name, const char* description)
{
    return program.add_subcommand(name, description);
}

template <typename T>
CLI::Option* add_option(CLI::App& command, const char* names, T& value, const char* description)
{
    return command.add_option(names, value, description);
}

template CLI::Option* add_option(CLI::App&, const char*, double&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, std::size_t&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, unsigned&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, std::string&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, std::optional<std::string>&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, std::vector<int>&, const char*);
template CLI::Option* add_option(CLI::App&, const char*, std::vector<std::string>&, const char*);

CLI::Option* add_flag(CLI::App& command, const char* names, bool& value, const char* description)
{
    return command.add_flag(names, value, description);
}

void add_json(CLI::App& command, bool& json)
{
    add_flag(command, "--json", json, "Print JSON");
}

CLI::Option* add_module_timeout(CLI::App& command, std::chrono::milliseconds& timeout,
                                const std::string& description)
{
    timeout = std::chrono::seconds{60};
    const auto set = [&timeout](double seconds) {
        timeout = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>{seconds});
    };
    return command.add_option_function<double>("--module-timeout", set, description)
        ->check(CLI::Range(0.001, 86'400.0))
        ->default_str("60");
}

CLI::Validator one_of(std::vector<std::string> words)
{
    std::string name = "{";
    for (const std::string& word : words)
        name += (name.size() == 1 ? "" : ",") + word;
    return CLI::Validator{[words = std::move(words)](const std::string& word) {
                              if (std::ranges::find(words, word) != words.end())
                                  return std::string{};
                              return "there is no " + word + did_you_mean(word, words);
                          },
                          name + "}"};
}

void add_examples(CLI::App& command, std::initializer_list<const char*> examples)
{
    std::string footer = "Examples:";
    for (const char* example : examples)
        footer.append("\n  ").append(example);
    command.footer(footer);
}

} // namespace kvn
