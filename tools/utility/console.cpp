// SPDX-License-Identifier: Apache-2.0
// The utility's two streams: standard output, which the library prints and asks on, and lines on standard
// error.
#include "console.h"

#include "control_characters.h"

#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <type_traits>

namespace utility
{
// stdout writes to the console until the process ends.
static_assert(std::is_trivially_destructible_v<Console>);

namespace
{

/// Whether standard output and standard error are read as one text: both are the same file or reach the same
/// terminal, perhaps through a pipe.
bool are_shared()
{
    struct stat output {
    };
    struct stat errors {
    };
    if (fstat(STDOUT_FILENO, &output) != 0 || fstat(STDERR_FILENO, &errors) != 0)
        return false;
    const bool same = output.st_dev == errors.st_dev && output.st_ino == errors.st_ino;
    return same || (isatty(STDERR_FILENO) != 0 && (isatty(STDOUT_FILENO) != 0 || S_ISFIFO(output.st_mode)));
}

/// Whether standard input is a terminal that shows what is typed.
bool echoes_keys()
{
    termios settings{};
    return tcgetattr(STDIN_FILENO, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

/// Takes the library's questions, which it writes to stdout and flushes.
ssize_t take_question(void* console, const char* text, std::size_t size)
{
    static_cast<Console*>(console)->output().ask({text, size});
    return static_cast<ssize_t>(size);
}

} // namespace

Console::Console()
    : output_{STDOUT_FILENO, isatty(STDOUT_FILENO) != 0},
      errors_on_terminal_{isatty(STDERR_FILENO) != 0},
      shared_{are_shared()}
{
    // Without memory, questions stay on the C library's stdout. The order holds: every text before a question
    // ends in a line feed and has been written.
    if (FILE* questions = fopencookie(this, "w", {nullptr, &take_question, nullptr, nullptr}))
        stdout = questions;
}

void Console::tell(std::string_view line)
{
    output_.flush();
    std::string shown{line_break()};
    if (shared_)
        output_.note_closed_line();
    if (errors_on_terminal_)
        escape_controls(line, "", [&](std::string_view part) { shown += part; });
    else
        shown += line;
    shown += '\n';
    (void)std::fwrite(shown.data(), 1, shown.size(), stderr);
}

std::string_view Console::line_break() const
{
    // The terminal has shown the line feed that ended the answer to a question.
    const bool answered = output_.ends_in_question() && std::feof(stdin) == 0 && echoes_keys();
    return shared_ && output_.has_open_line() && !answered ? "\n" : "";
}

std::string_view Console::line_break_at(int signal) const
{
    const bool echoed = signal == SIGINT && errors_on_terminal_ && echoes_keys();
    return echoed || (shared_ && output_.has_open_line()) ? "\n" : "";
}

Console& console()
{
    static Console made;
    return made;
}

} // namespace utility
