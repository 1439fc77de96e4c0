// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM: the first ends a command after what is under way, the second cuts that off.
#include "interruption.h"

#include "streams.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <string_view>

namespace kvn
{
namespace
{

constexpr std::array SIGNALS{SIGINT, SIGTERM};

// The handler finds them without a call that might allocate.
std::atomic<LoadControl*> stopped_load{nullptr};
std::atomic<int> first_signal{0};
std::atomic<const system::WakeUp*> woken{nullptr};
std::atomic<unsigned> signals{0};
std::atomic<bool> is_idle{false};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<LoadControl*>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

constexpr std::string_view FIRST_WORDS =
    "\nkvn: what is under way is finished first; a second signal cuts it off\n";
constexpr std::string_view SECOND_WORDS = "\nkvn: what is under way is cut off\n";

void write_words(std::string_view words)
{
    if (is_idle)
        return;
    (void)!write(STDERR_FILENO, words.data(), words.size());
}

void set_action(int signal, void (*handler)(int))
{
    struct sigaction action {
    };
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    (void)sigaction(signal, &action, nullptr);
}

void set_actions(void (*handler)(int))
{
    for (const int signal : SIGNALS)
        set_action(signal, handler);
}

/// Only async-signal-safe calls.
void note(int signal)
{
    const int kept = errno;
    LoadControl* const load = stopped_load;
    ++signals;
    const system::WakeUp* const wake_up = woken;
    if (wake_up != nullptr)
        wake_up->signal();
    int none = 0;
    if (first_signal.compare_exchange_strong(none, signal)) {
        if (load != nullptr)
            load->withdraw();
        else if (wake_up == nullptr)
            set_actions(SIG_DFL);
        write_words(FIRST_WORDS);
    } else {
        set_actions(SIG_DFL);
        if (load != nullptr)
            load->cancel();
        write_words(SECOND_WORDS);
    }
    errno = kept;
}

} // namespace

Interruption::Interruption(LoadControl* load)
{
    stopped_load = load;
    set_actions(&note);
}

Interruption::Interruption(const system::WakeUp* wake_up)
{
    woken = wake_up;
    set_actions(&note);
}

Interruption::~Interruption()
{
    set_actions(SIG_DFL);
    stopped_load = nullptr;
    woken = nullptr;
}

void Interruption::set_idle(bool idle)
{
    is_idle = idle;
}

unsigned Interruption::count()
{
    return signals;
}

const char* Interruption::signal_name()
{
    const int signal = first_signal;
    if (signal == 0)
        return nullptr;
    return signal == SIGINT ? "SIGINT" : "SIGTERM";
}

ExitStatus Interruption::status_after(ExitStatus status)
{
    const char* const name = signal_name();
    if (name == nullptr)
        return status;
    tell(std::string{"ended by "} + name);
    return ExitStatus::cancelled;
}

} // namespace kvn
