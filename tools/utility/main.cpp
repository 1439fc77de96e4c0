// SPDX-License-Identifier: Apache-2.0
// The utility KVN_FPGA: the command line through to the library, its last error out.
#include "kvn_fpga.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string_view>

namespace
{
enum class Request { run, help, version };

/// What the utility answers itself. The library refuses these arguments wherever they stand, so taking them
/// anywhere changes no command line that it would accept.
Request find_request(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument{argv[i]};
        if (argument == "-h" || argument == "--help" || argument == "-?")
            return Request::help;
        if (argument == "--version")
            return Request::version;
    }
    return Request::run;
}

/// Gives the standard streams their places. Without it a program started with a closed standard output would
/// find its next open file there, and print into it.
void open_missing_streams()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) != descriptor)
            _exit(1);
}

int show(kvn_fpga& fpga, Request request)
{
    if (request == Request::help) {
        fpga.kvn_fpga_help();
    } else {
        int major = 0;
        int minor = 0;
        char* text = nullptr;
        fpga.kvn_fpga_version(&major, &minor, &text);
        std::printf("KVN_FPGA %s\n", text);
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}

int run(kvn_fpga& fpga, int argc, char** argv)
{
    const int error = fpga.kvn_fpga_main(argc, argv);
    (void)std::fflush(stdout); // what was printed before the error is also seen before it
    if (error == 0)
        return 0;
    (void)std::fprintf(stderr, "%s\n", fpga.kvn_fpga_getlasterr());
    return 1;
}
} // namespace

int main(int argc, char** argv)
{
    open_missing_streams();
    // A reader of our output that goes away must not cut off a module in the middle of its load.
    (void)std::signal(SIGPIPE, SIG_IGN);
    try {
        kvn_fpga fpga;
        const Request request = find_request(argc, argv);
        return request == Request::run ? run(fpga, argc, argv) : show(fpga, request);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "KVN_FPGA: %s\n", error.what());
        return 1;
    }
}
