// SPDX-License-Identifier: Apache-2.0
// How users and the system ask a program to stop: signals, and on Windows the events of a console.
#ifndef KVN_SYSTEM_INTERRUPTS_H
#define KVN_SYSTEM_INTERRUPTS_H

#include <span>
#include <string_view>

namespace kvn::system
{

/// A request to stop, by the signal's name.
enum class Interrupt {
    interrupt, ///< SIGINT: Ctrl-C
    terminate, ///< SIGTERM: kill; on Windows Ctrl-Break
    hang_up ///< SIGHUP: the terminal is gone; on Windows the console's window is closed or the user logs off
};

/// "SIGINT", "SIGTERM", "SIGHUP". Async-signal-safe.
[[nodiscard]] std::string_view name_of(Interrupt interrupt) noexcept;

/// Interrupts the program at any place on POSIX systems, and so may make only async-signal-safe calls; runs
/// on a thread of its own on Windows, perhaps twice at the same time. errno is kept for it.
using InterruptHandler = void (*)(Interrupt);

/// What happens to interrupts that come while the handler runs.
enum class WhileHandled {
    wait, ///< the same one comes when the handler has returned
    come  ///< each comes at once
};

/// Calls a handler for interrupts from now on, except for those that the program was started to ignore.
/// System calls that are interrupted begin again.
void handle_interrupts(std::span<const Interrupt> interrupts, InterruptHandler handler,
                       WhileHandled others) noexcept;

/// Lets interrupts end the process again, except for ignored ones. Async-signal-safe.
void stop_handling_interrupts(std::span<const Interrupt> interrupts) noexcept;

/// Ends the process as the interrupt does that is not handled: at once, so that those who started it see it.
/// It is not handled any more. Async-signal-safe.
void die_by(Interrupt interrupt) noexcept;

/// Lets writes to a pipe without a reader fail with EPIPE instead of ending the process.
void ignore_broken_pipes() noexcept;

} // namespace kvn::system

#endif
