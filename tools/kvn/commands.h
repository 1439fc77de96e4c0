// SPDX-License-Identifier: Apache-2.0
// The subcommands of kvn.
#ifndef KVN_TOOLS_KVN_COMMANDS_H
#define KVN_TOOLS_KVN_COMMANDS_H

#include "errors/catalogue.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvn
{

/// A command line that can be parsed, and asks for what there is not.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a subcommand does once the command line was read; its result is the exit status.
using Action = std::function<ExitStatus()>;

/// @name What the command line is described with
/// CLI11 is all in headers. Each file that called it to describe a command would compile most of it again,
/// for seconds; these are compiled once, for the types that command_line.cpp names.
/// @{
CLI::App* add_command(CLI::App& program, const char* name, const char* description);
template <typename T>
CLI::Option* add_option(CLI::App& command, const char* names, T& value, const char* description = "");
CLI::Option* add_flag(CLI::App& command, const char* names, bool& value, const char* description);
/// @}

/// Ends the help of a command with examples.
void add_examples(CLI::App& command, std::initializer_list<const char*> examples);

/// The option --json.
void add_json(CLI::App& command, bool& json);

/// The option --module-timeout: seconds, 60 unless it is given; they are rounded up.
CLI::Option* add_module_timeout(CLI::App& command, std::chrono::milliseconds& timeout,
                                const std::string& description);

/// Accepts one of these words, and answers any other with the nearest.
[[nodiscard]] CLI::Validator one_of(std::vector<std::string> words);

/// Each adds its subcommand and options to the program.
Action add_list(CLI::App& program);
Action add_load(CLI::App& program);
Action add_run(CLI::App& program);
Action add_station(CLI::App& program);
Action add_worker(CLI::App& program);
Action add_plan(CLI::App& program);
Action add_convert(CLI::App& program);
Action add_info(CLI::App& program);
Action add_check(CLI::App& program);
Action add_digest(CLI::App& program);
Action add_diff(CLI::App& program);
Action add_estimate(CLI::App& program);
Action add_explain(CLI::App& program);
Action add_trace(CLI::App& program);
Action add_report(CLI::App& program);
Action add_support(CLI::App& program);
Action add_journal(CLI::App& program);
Action add_history(CLI::App& program);
Action add_completion(CLI::App& program);

} // namespace kvn

#endif
