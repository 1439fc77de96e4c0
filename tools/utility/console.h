// SPDX-License-Identifier: Apache-2.0
// The utility's two streams: standard output, which the library prints and asks on, and lines on standard
// error.
#ifndef KVN_TOOLS_UTILITY_CONSOLE_H
#define KVN_TOOLS_UTILITY_CONSOLE_H

#include "output.h"
#include "system/interrupts.h"

#include <string>
#include <string_view>

namespace utility
{

/// One per program: it replaces the C library's stdout where it can, so that the library's questions pass
/// through it.
class Console
{
public:
    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    Output& output() { return output_; }
    /// Whether the library's questions pass through it.
    [[nodiscard]] bool takes_questions() const { return takes_questions_; }
    /// Writes a line to standard error, after everything printed so far. Ends an open line of standard output
    /// first if both are read as one text. Escapes control characters on a terminal.
    void tell(std::string_view line);

    /// The prefix of a signal handler's line: a line feed if it would follow an open line, which the
    /// terminal's echo of ^C also leaves. Async-signal-safe.
    [[nodiscard]] std::string_view line_break_at(kvn::system::Interrupt interrupt) const;

private:
    [[nodiscard]] std::string_view line_break() const;

    Output output_;
    bool errors_on_terminal_;
    bool shared_; ///< both streams are read as one text
    bool takes_questions_;
};

/// The one console of the program, made at its first use.
Console& console();

} // namespace utility

#endif
