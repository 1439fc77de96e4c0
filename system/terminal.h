// SPDX-License-Identifier: Apache-2.0
// The standard streams, and the terminals or consoles that they may lead to.
#ifndef KVN_SYSTEM_TERMINAL_H
#define KVN_SYSTEM_TERMINAL_H

#include <cstddef>
#include <optional>
#include <string_view>

namespace kvn::system
{

inline constexpr int STANDARD_INPUT = 0;
inline constexpr int STANDARD_OUTPUT = 1;
inline constexpr int STANDARD_ERROR = 2;

/// Makes the standard streams of Windows like those of other systems: binary, and consoles show UTF-8 and
/// obey the control sequences of terminals. Does nothing elsewhere.
void set_up_standard_streams() noexcept;

/// Opens closed standard streams, so that no file that is opened later becomes one of them, and sets all up.
/// To be called first in a program.
/// @return false when it cannot be done
[[nodiscard]] bool prepare_standard_streams() noexcept;

/// Whether a descriptor leads to a terminal or console.
[[nodiscard]] bool is_terminal(int descriptor) noexcept;

struct TerminalSize {
    unsigned rows;
    unsigned columns;
};
/// @return null when the descriptor leads to no terminal, or the terminal does not tell
[[nodiscard]] std::optional<TerminalSize> terminal_size(int descriptor) noexcept;

/// Whether standard input is a terminal that shows what is typed. Async-signal-safe.
[[nodiscard]] bool echoes_keys() noexcept;

/// Whether a terminal also shows the key that interrupts. Async-signal-safe.
[[nodiscard]] bool echoes_interrupt_key() noexcept;

/// Whether standard output and standard error are read as one text: both are the same file or reach the same
/// terminal, perhaps through a pipe.
[[nodiscard]] bool are_output_and_error_one_text() noexcept;

/// Whether a descriptor takes some bytes without waiting, as far as the system tells. Async-signal-safe.
[[nodiscard]] bool is_writable(int descriptor) noexcept;

/// Writes once; goes on if a signal interrupts it. Async-signal-safe.
/// @return the bytes written, which may be fewer; null on an error, with its number in errno
[[nodiscard]] std::optional<std::size_t> write_some(int descriptor, std::string_view bytes) noexcept;

} // namespace kvn::system

#endif
