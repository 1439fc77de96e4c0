// The program kvn: tells what bitstream files are and whether they would start a module's FPGA.
#include "commands.h"

#include <cstdlib>
#include <iostream>
#include <vector>

namespace
{

using Adder = kvn::Action (*)(CLI::App&);
constexpr Adder subcommands[] = {kvn::add_info, kvn::add_check};

int run(int argc, char** argv)
{
    CLI::App program{"Inspects configuration bitstreams without hardware.", "kvn"};
    program.require_subcommand(1);
    std::vector<kvn::Action> actions;
    for (const Adder add : subcommands)
        actions.push_back(add(program));
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? kvn::YES : kvn::UNKNOWN;
    }
    const auto all = program.get_subcommands([](const CLI::App*) { return true; });
    for (std::size_t i = 0; i < actions.size(); ++i)
        if (all[i]->parsed())
            return actions[i]();
    return kvn::UNKNOWN;
}

} // namespace

int main(int argc, char** argv)
{
    // Files are tried on virtual modules; that is no run of the user's, so it is not recorded.
    (void)unsetenv("MWVIRTUAL_TRACE"); // NOLINT(concurrency-mt-unsafe): the only thread
    try {
        const int status = run(argc, argv);
        std::cout.flush();
        return std::cout.good() ? status : static_cast<int>(kvn::UNKNOWN);
    } catch (const std::exception& error) {
        std::cerr << "kvn: " << error.what() << '\n';
        return kvn::UNKNOWN;
    }
}
