// SPDX-License-Identifier: Apache-2.0
#include "system/interrupts.h"

#include <windows.h>

#include <atomic>
#include <cerrno>

namespace kvn::system
{
namespace
{

/// The status of a process that Ctrl-C has ended, as the system sets it.
constexpr UINT ENDED_BY_INTERRUPT = 0xC000013A;

std::atomic<InterruptHandler> called{nullptr};
std::atomic<unsigned> handled{0}; ///< a bit for each interrupt

unsigned bit_of(Interrupt interrupt)
{
    return 1U << static_cast<unsigned>(interrupt);
}

Interrupt interrupt_of(DWORD event)
{
    switch (event) {
    case CTRL_C_EVENT:
        return Interrupt::interrupt;
    case CTRL_BREAK_EVENT:
        return Interrupt::terminate;
    default:
        return Interrupt::hang_up;
    }
}

/// The system ends the process when this returns FALSE, or at the latest some seconds after the window was
/// closed.
BOOL WINAPI take(DWORD event)
{
    const Interrupt interrupt = interrupt_of(event);
    const InterruptHandler handler = called;
    if (handler == nullptr || (handled & bit_of(interrupt)) == 0)
        return FALSE;
    handler(interrupt);
    return TRUE;
}

} // namespace

// Each event has a thread of its own, so others never wait. Ctrl-C of a program that was started to ignore it
// reaches no handler.
void handle_interrupts(std::span<const Interrupt> interrupts, InterruptHandler handler,
                       WhileHandled /*others*/) noexcept
{
    called = handler;
    for (const Interrupt each : interrupts)
        handled |= bit_of(each);
    static const bool is_installed = SetConsoleCtrlHandler(&take, TRUE) != FALSE;
    (void)is_installed;
}

void stop_handling_interrupts(std::span<const Interrupt> interrupts) noexcept
{
    for (const Interrupt each : interrupts)
        handled &= ~bit_of(each);
}

void die_by(Interrupt /*interrupt*/) noexcept
{
    (void)TerminateProcess(GetCurrentProcess(), ENDED_BY_INTERRUPT);
}

// A write to such a pipe fails without more.
void ignore_broken_pipes() noexcept {}

} // namespace kvn::system
