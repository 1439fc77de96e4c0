// SPDX-License-Identifier: Apache-2.0
// The program kvn: reads the command line, asks the engine, shows.
#include "command_line.h"
#include "commands.h"
#include "errors/failure.h"
#include "report/json.h"
#include "run/event.h"
#include "streams.h"
#include "system/arguments.h"
#include "system/file.h"
#include "system/interrupts.h"
#include "system/terminal.h"
#include "version.h"

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string_view>
#include <vector>

namespace
{
using kvn::ExitStatus;

kvn::Json version_json()
{
    kvn::Json json = kvn::json_document("version");
    json["tool"] = std::string{"kvn "} + kvn::TOOL_VERSION;
    json["library"] = std::string{"kvn_fpga "} + KVN_VERSION;
    return json;
}

/// Shows help or the version, or says what is wrong with the command line. Standard output holds JSON alone
/// when that is wanted.
ExitStatus end_parsing(const CLI::App& program, const CLI::ParseError& error, bool as_json)
{
    std::ostringstream words;
    if (program.exit(error, words, words) != 0)
        throw kvn::UsageError{kvn::usage_problem(program, error)};
    const bool is_version = dynamic_cast<const CLI::CallForVersion*>(&error) != nullptr;
    if (as_json)
        kvn::print_json(std::cout, is_version ? version_json() : kvn::help_json(words.str()));
    else
        std::cout << words.str();
    return ExitStatus::done;
}

ExitStatus run(int argc, char** argv)
{
    CLI::App program{"Lists modules, loads, inspects, checks and converts configuration bitstreams, and "
                     "explains errors.",
                     "kvn"};
    program.set_version_flag("--version", std::string{"kvn "} + kvn::TOOL_VERSION);
    program.require_subcommand(1);
    program.allow_windows_style_options(false); // a word that begins with / names a file
    kvn::add_examples(program, {"kvn list --help", "kvn --version --json"});
    std::vector<kvn::Action> actions;
    for (const kvn::Adder add : kvn::subcommands())
        actions.push_back(add(program));
    try {
        kvn::require_known_command(program, argc, argv);
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return end_parsing(program, error, kvn::asks_for_json(argc, argv));
    }
    const auto all = program.get_subcommands([](const CLI::App*) { return true; });
    for (std::size_t i = 0; i < actions.size(); ++i)
        if (all[i]->parsed())
            return actions[i]();
    return ExitStatus::internal;
}

/// kvn run and kvn station write a stream of events, also where they do not get as far as a run.
void print_failure(const kvn::Failure& failure, bool is_run)
{
    if (is_run)
        std::cout << kvn::event_line(kvn::stream_head())
                  << kvn::event_line(kvn::result_event(failure.status, {}, failure));
    else
        kvn::print_json(std::cout, kvn::failure_json(failure));
}

ExitStatus report_failure(const kvn::Failure& failure, bool as_json, bool is_run)
{
    kvn::tell_failure("", failure);
    if (as_json)
        print_failure(failure, is_run);
    return failure.status;
}

ExitStatus run_and_report(int argc, char** argv)
{
    const bool as_json = kvn::asks_for_json(argc, argv);
    const std::string_view command = argc > 1 ? argv[1] : "";
    const bool is_run = command == "run" || command == "station";
    try {
        return run(argc, argv);
    } catch (const kvn::UsageError& error) {
        return report_failure({.status = ExitStatus::usage, .what = error.what()}, as_json, is_run);
    } catch (const kvn::FailureError& error) {
        return report_failure(error.failure(), as_json, is_run);
    } catch (const std::exception& error) {
        return report_failure({.status = ExitStatus::internal, .what = error.what()}, as_json, is_run);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (!kvn::system::prepare_standard_streams())
        std::_Exit(static_cast<int>(ExitStatus::internal));
    // A reader that closes our output must not end the process in the middle of a load.
    kvn::system::ignore_broken_pipes();
    kvn::system::ignore_size_limits();
    kvn::system::Arguments arguments{argc, argv};
    return static_cast<int>(kvn::finish_output(run_and_report(arguments.count(), arguments.words())));
}
