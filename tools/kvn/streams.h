// SPDX-License-Identifier: Apache-2.0
// What kvn writes to its two streams, and how it ends.
#ifndef KVN_TOOLS_KVN_STREAMS_H
#define KVN_TOOLS_KVN_STREAMS_H

#include "errors/failure.h"
#include "system/terminal.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace kvn
{

/// A text from outside as it may be shown on a terminal: control characters become escapes.
[[nodiscard]] std::string printable(std::string_view text);

/// Writes a line "kvn: ..." on standard error, after all that was printed before it.
void tell(std::string_view line);

/// Writes what happened, and "why:" and "try:" where they are known, on standard error. Each line of the
/// remedy is something to try.
/// @param subject what the failure is about, such as "mwc4a:0/1: design.bit: "; may be empty
void tell_failure(const std::string& subject, const Failure& failure);

/// The same without "kvn: " on another stream.
void print_failure(std::ostream& out, const std::string& subject, const Failure& failure);

/// Whether standard output, or another stream, shows colours: only a terminal does, and never under NO_COLOR.
[[nodiscard]] bool shows_colours(int descriptor = system::STANDARD_OUTPUT);
/// The text in green or red where colours are shown, else as it is.
[[nodiscard]] std::string coloured(const std::string& text, bool is_good);

/// "0.424"
[[nodiscard]] std::string fixed(double number, int digits);

/// Writes what standard output still holds.
/// @return the status, or ExitStatus::file if that fails, which is then told. A reader that has gone away
///         has read enough.
[[nodiscard]] ExitStatus finish_output(ExitStatus status);

} // namespace kvn

#endif
