// SPDX-License-Identifier: Apache-2.0
// A program that tests start: it does what its first argument says.
#include "system/arguments.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

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
    if (std::strcmp(wish, "fail") == 0) {
        std::fputs("it fails\n", stderr);
        return 3;
    }
    return 1;
}
