// SPDX-License-Identifier: Apache-2.0
// The utility's two streams: standard output, which the library prints and asks on, and lines on standard
// error.
#ifndef KVN_TOOLS_UTILITY_CONSOLE_H
#define KVN_TOOLS_UTILITY_CONSOLE_H

#include "output.h"

#include <string>
#include <string_view>

namespace utility
{

/// There is one in a program: it stands in for the C library's stdout, so that it sees the library's
/// questions pass.
class Console
{
public:
    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    Output& output() { return output_; }
    /// Writes a line on standard error, after all that was printed. It begins a line even where standard
    /// output has left one open. A terminal shows its control characters escaped.
    void tell(std::string_view line);

    /// What the line of a signal handler begins with: a line feed where a line is open on what standard error
    /// shows, be it by the terminal's echo of ^C. Async-signal-safe.
    [[nodiscard]] std::string_view line_break_at(int signal) const;

private:
    [[nodiscard]] std::string_view line_break() const;

    Output output_;
    bool errors_on_terminal_;
    bool shared_; ///< what both streams show ends up in one place
};

/// The one console of the program, made at its first use.
Console& console();

} // namespace utility

#endif
