// SPDX-License-Identifier: Apache-2.0
// The utility KVN_FPGA: passes its command line to the library and reports the last error.
#include "console.h"
#include "errors/catalogue.h"
#include "interruption.h"
#include "kvn_fpga.h"
#include "questions.h"
#include "system/arguments.h"
#include "system/interrupts.h"
#include "system/terminal.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <string_view>

namespace
{
using kvn::ExitStatus;

using Arguments = std::span<char*>;

enum class Request { run, help, version };

/// Finds what the utility answers itself. The library refuses these arguments in every position, so
/// recognising them anywhere changes no valid command line.
Request find_request(Arguments arguments)
{
    for (const std::string_view argument : arguments) {
        if (argument == "-h" || argument == "--help" || argument == "-?")
            return Request::help;
        if (argument == "--version")
            return Request::version;
    }
    return Request::run;
}

/// Whether the library will convert a file; a description file always loads.
bool asks_for_conversion(Arguments arguments)
{
    bool converts = false;
    for (const std::string_view argument : arguments) {
        if (!argument.starts_with('-'))
            return false;
        converts = converts || argument == "-c" || argument == "-C" || argument == "-r" || argument == "-R";
    }
    return converts;
}

ExitStatus output_failure(int problem)
{
    utility::console().tell(std::string{"KVN_FPGA: cannot write to standard output: "} +
                            std::strerror(problem)); // NOLINT(concurrency-mt-unsafe): the only thread
    return ExitStatus::file;
}

ExitStatus show(kvn_fpga& fpga, Request request)
{
    utility::Output& output = utility::console().output();
    if (request == Request::help) {
        fpga.kvn_fpga_help();
    } else {
        int major = 0;
        int minor = 0;
        char* text = nullptr;
        fpga.kvn_fpga_version(&major, &minor, &text);
        output.print(std::string{"KVN_FPGA "} + text + "\n");
    }
    output.flush();
    return output.problem() == 0 ? ExitStatus::done : output_failure(output.problem());
}

ExitStatus run(kvn_fpga& fpga, int argc, char** argv)
{
    const int error = fpga.kvn_fpga_main(argc, argv);
    if (error != 0) {
        utility::console().tell(fpga.kvn_fpga_getlasterr());
        return kvn::exit_status_of(error);
    }
    utility::Output& output = utility::console().output();
    output.flush();
    // Choice: a reader that has gone has read enough (docs/decisions/0030-exit-statuses.md).
    const int problem = output.problem();
    return problem == 0 || problem == EPIPE ? ExitStatus::done : output_failure(problem);
}

ExitStatus obey(int argc, char** argv)
{
    try {
        const Arguments arguments{argv + (argc > 0 ? 1 : 0), argv + argc};
        kvn_fpga fpga;
        fpga.kvn_fpga_set_userprint([](char* text) { utility::console().output().print(text); });
        if (!utility::console().takes_questions())
            utility::ask_here(fpga);
        if (const Request request = find_request(arguments); request != Request::run)
            return show(fpga, request);
        utility::tell_interruptions(asks_for_conversion(arguments));
        return run(fpga, argc, argv);
    } catch (const std::exception& error) {
        utility::console().tell(std::string{"KVN_FPGA: "} + error.what());
        return ExitStatus::internal;
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (!kvn::system::prepare_standard_streams())
        return static_cast<int>(ExitStatus::internal);
    // A reader that closes our output must not end the process in the middle of a load.
    kvn::system::ignore_broken_pipes();
    kvn::system::Arguments arguments{argc, argv};
    return static_cast<int>(obey(arguments.count(), arguments.words()));
}
