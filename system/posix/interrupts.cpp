// SPDX-License-Identifier: Apache-2.0
#include "system/interrupts.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace kvn::system
{
namespace
{

std::atomic<InterruptHandler> called{nullptr};
static_assert(std::atomic<InterruptHandler>::is_always_lock_free);

int signal_of(Interrupt interrupt)
{
    switch (interrupt) {
    case Interrupt::interrupt:
        return SIGINT;
    case Interrupt::terminate:
        return SIGTERM;
    default:
        return SIGHUP;
    }
}

Interrupt interrupt_of(int signal)
{
    return signal == SIGINT    ? Interrupt::interrupt
           : signal == SIGTERM ? Interrupt::terminate
                               : Interrupt::hang_up;
}

void take(int signal)
{
    const int kept = errno;
    if (const InterruptHandler handler = called)
        handler(interrupt_of(signal));
    errno = kept;
}

void set_action(Interrupt interrupt, void (*handler)(int), int flags)
{
    const int signal = signal_of(interrupt);
    struct sigaction action {
    };
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | flags;
    sigemptyset(&action.sa_mask);
    (void)sigaction(signal, &action, nullptr);
}

} // namespace

void handle_interrupts(std::span<const Interrupt> interrupts, InterruptHandler handler,
                       WhileHandled others) noexcept
{
    called = handler;
    for (const Interrupt each : interrupts)
        set_action(each, &take, others == WhileHandled::come ? SA_NODEFER : 0);
}

void stop_handling_interrupts(std::span<const Interrupt> interrupts) noexcept
{
    for (const Interrupt each : interrupts)
        set_action(each, SIG_DFL, 0);
}

void die_by(Interrupt interrupt) noexcept
{
    const int signal = signal_of(interrupt);
    (void)std::signal(signal, SIG_DFL);
    (void)raise(signal);
}

void ignore_broken_pipes() noexcept
{
    (void)std::signal(SIGPIPE, SIG_IGN);
}

} // namespace kvn::system
