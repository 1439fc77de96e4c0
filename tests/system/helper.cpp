// SPDX-License-Identifier: Apache-2.0
// A program that tests start: it does what its first argument says.
#include "system/arguments.h"
#include "system/incoming.h"
#include "system/terminal.h"
#include "system/wake_up.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace
{

/// Each argument between brackets, on a line.
int tell_arguments(int argc, char** argv)
{
    for (int i = 2; i < argc; ++i)
        std::printf("[%s]\n", argv[i]);
    return 0;
}

/// How many bytes standard input has, up to its end.
int count_input()
{
    unsigned long bytes = 0;
    for (int c = std::getchar(); c != EOF; c = std::getchar())
        ++bytes;
    std::printf("%lu\n", bytes);
    return 0;
}

int wait_for_ever()
{
    std::puts("waiting");
    (void)std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}

/// Pieces of what comes on standard input, each at once behind "got ".
int tell_pieces()
{
    kvn::system::Incoming incoming{0};
    std::array<char, 4> piece{};
    for (;;) {
        std::array entries{kvn::system::Awaited{.what = incoming.waitable()}};
        (void)kvn::system::wait(entries, -1);
        const auto size = incoming.read_some(piece);
        if (!size)
            return 1;
        if (*size == 0)
            break;
        std::printf("got %.*s\n", static_cast<int>(*size), piece.data());
        (void)std::fflush(stdout);
    }
    std::puts("end");
    return 0;
}

/// Stops to read standard input while nothing comes there.
int stop_reading()
{
    const kvn::system::WakeUp woken;
    {
        kvn::system::Incoming incoming{0};
        std::array entries{kvn::system::Awaited{.what = incoming.waitable()},
                           kvn::system::Awaited{.what = woken.waitable()}};
        const std::jthread other{[&woken] { woken.signal(); }};
        (void)kvn::system::wait(entries, -1);
        if (entries[0].is_ready)
            return 1;
    }
    std::puts("stopped");
    return 0;
}

/// Leads a stream to a file, or nowhere else for "-".
bool lead(int descriptor, const char* file)
{
    if (std::strcmp(file, "-") == 0)
        return true;
    std::FILE* const opened = std::fopen(file, "ab");
    return opened != nullptr && dup2(fileno(opened), descriptor) >= 0;
}

/// Whether output and errors are one text: 10 if so, else 11. They lead to files, or where they did for "-";
/// errors to where the output does for "=".
int judge_streams(const char* output, const char* errors)
{
    namespace system = kvn::system;
    const bool follows = std::strcmp(errors, "=") == 0;
    if (!lead(system::STANDARD_OUTPUT, output) || !lead(system::STANDARD_ERROR, follows ? "-" : errors))
        return 1;
    if (follows && dup2(system::STANDARD_OUTPUT, system::STANDARD_ERROR) < 0)
        return 1;
    return system::are_output_and_error_one_text() ? 10 : 11;
}

} // namespace

int main(int count, char** words)
{
    kvn::system::Arguments arguments{count, words};
    const int argc = arguments.count();
    char** const argv = arguments.words();
    const char* const wish = argc > 1 ? argv[1] : "";
    if (std::strcmp(wish, "arguments") == 0)
        return tell_arguments(argc, argv);
    if (std::strcmp(wish, "count") == 0)
        return count_input();
    if (std::strcmp(wish, "wait") == 0)
        return wait_for_ever();
    if (std::strcmp(wish, "pieces") == 0)
        return tell_pieces();
    if (std::strcmp(wish, "stop reading") == 0)
        return stop_reading();
    if (std::strcmp(wish, "streams") == 0 && argc == 4)
        return judge_streams(argv[2], argv[3]);
    if (std::strcmp(wish, "fail") == 0) {
        std::fputs("it fails\n", stderr);
        return 3;
    }
    return 1;
}
