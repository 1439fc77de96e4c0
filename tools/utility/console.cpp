// SPDX-License-Identifier: Apache-2.0
// The utility's two streams: standard output, which the library prints and asks on, and lines on standard
// error.
#include "console.h"

#include "control_characters.h"
#include "system/standard_stream.h"
#include "system/terminal.h"

#include <cstdio>
#include <type_traits>

namespace utility
{
// stdout writes to the console until the process ends.
static_assert(std::is_trivially_destructible_v<Console>);

namespace system = kvn::system;

namespace
{

/// Takes the library's questions, which it writes to stdout and flushes.
void take_question(void* console, std::string_view text)
{
    static_cast<Console*>(console)->output().ask(text);
}

} // namespace

Console::Console()
    : output_{system::STANDARD_OUTPUT, system::is_terminal(system::STANDARD_OUTPUT)},
      errors_on_terminal_{system::is_terminal(system::STANDARD_ERROR)},
      shared_{system::are_output_and_error_one_text()},
      takes_questions_{system::replace_stdout(this, &take_question)}
{
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
    const bool answered = output_.ends_in_question() && std::feof(stdin) == 0 && system::echoes_keys();
    return shared_ && output_.has_open_line() && !answered ? "\n" : "";
}

std::string_view Console::line_break_at(system::Interrupt interrupt) const
{
    const bool echoed =
        interrupt == system::Interrupt::interrupt && errors_on_terminal_ && system::echoes_interrupt_key();
    return echoed || (shared_ && output_.has_open_line()) ? "\n" : "";
}

Console& console()
{
    static Console made;
    return made;
}

} // namespace utility
