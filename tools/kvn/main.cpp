// SPDX-License-Identifier: Apache-2.0
// The program kvn: tells what bitstream files are and whether they would start a module's FPGA.
#include "commands.h"
#include "report.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string_view>
#include <vector>

namespace
{

using Adder = kvn::Action (*)(CLI::App&);
constexpr Adder subcommands[] = {kvn::add_info, kvn::add_check, kvn::add_explain};

/// Whether JSON is wanted, as far as a command line tells that may be wrong.
bool asks_for_json(int argc, char** argv)
{
    return std::any_of(argv, argv + argc,
                       [](const char* argument) { return std::string_view{argument} == "--json"; });
}

/// Shows help, or what is wrong with the command line. Standard output holds JSON alone when that is wanted.
int end_parsing(const CLI::App& program, const CLI::ParseError& error, bool as_json)
{
    std::ostringstream words;
    const bool is_help = program.exit(error, words, words) == 0;
    if (as_json && is_help)
        kvn::print_json(std::cout, kvn::help_json(words.str()));
    else if (as_json)
        kvn::print_json(std::cout, kvn::failure_json("usage", error.what()));
    if (!is_help)
        std::cerr << words.str();
    else if (!as_json)
        std::cout << words.str();
    return is_help ? kvn::YES : kvn::UNKNOWN;
}

int run(int argc, char** argv)
{
    CLI::App program{"Inspects configuration bitstreams without hardware, and explains errors.", "kvn"};
    program.require_subcommand(1);
    std::vector<kvn::Action> actions;
    for (const Adder add : subcommands)
        actions.push_back(add(program));
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return end_parsing(program, error, asks_for_json(argc, argv));
    }
    const auto all = program.get_subcommands([](const CLI::App*) { return true; });
    for (std::size_t i = 0; i < actions.size(); ++i)
        if (all[i]->parsed())
            return actions[i]();
    return kvn::UNKNOWN;
}

int report_failure(const char* kind, const std::string& what, bool as_json)
{
    std::cerr << "kvn: " << kvn::printable(what) << '\n';
    if (as_json)
        kvn::print_json(std::cout, kvn::failure_json(kind, what));
    return kvn::UNKNOWN;
}

int run_and_report(int argc, char** argv)
{
    const bool as_json = asks_for_json(argc, argv);
    try {
        return run(argc, argv);
    } catch (const kvn::UsageError& error) {
        return report_failure("usage", error.what(), as_json);
    } catch (const kvn::UnreadableFile& error) {
        return report_failure("file", error.what(), as_json);
    } catch (const std::exception& error) {
        return report_failure("internal", error.what(), as_json);
    }
}

} // namespace

int main(int argc, char** argv)
{
    // Files are tried on virtual modules; that is no run of the user's, so it is not recorded.
    (void)unsetenv("MWVIRTUAL_TRACE"); // NOLINT(concurrency-mt-unsafe): the only thread
    const int status = run_and_report(argc, argv);
    std::cout.flush();
    return std::cout.good() ? status : static_cast<int>(kvn::UNKNOWN);
}
