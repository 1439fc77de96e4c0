// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM: the first ends a command after what is under way, the second cuts that off.
#include "interruption.h"

#include "streams.h"
#include "system/interrupts.h"
#include "system/terminal.h"

#include <array>
#include <atomic>
#include <string>
#include <string_view>

namespace kvn
{
namespace
{

constexpr std::array INTERRUPTS{system::Interrupt::interrupt, system::Interrupt::terminate};

// The handler finds them without a call that might allocate.
std::atomic<LoadControl*> stopped_load{nullptr};
std::atomic<int> first_interrupt{-1}; ///< -1: none has come
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
    if (!is_idle)
        (void)system::write_some(system::STANDARD_ERROR, words);
}

/// Only async-signal-safe calls.
void note(system::Interrupt interrupt)
{
    LoadControl* const load = stopped_load;
    ++signals;
    const system::WakeUp* const wake_up = woken;
    if (wake_up != nullptr)
        wake_up->signal();
    int none = -1;
    if (first_interrupt.compare_exchange_strong(none, static_cast<int>(interrupt))) {
        if (load != nullptr)
            load->withdraw();
        else if (wake_up == nullptr)
            system::stop_handling_interrupts(INTERRUPTS);
        write_words(FIRST_WORDS);
    } else {
        system::stop_handling_interrupts(INTERRUPTS);
        if (load != nullptr)
            load->cancel();
        write_words(SECOND_WORDS);
    }
}

void begin_handling()
{
    system::handle_interrupts(INTERRUPTS, &note, system::WhileHandled::wait);
}

} // namespace

Interruption::Interruption(LoadControl* load)
{
    stopped_load = load;
    begin_handling();
}

Interruption::Interruption(const system::WakeUp* wake_up)
{
    woken = wake_up;
    begin_handling();
}

Interruption::~Interruption()
{
    system::stop_handling_interrupts(INTERRUPTS);
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
    const int interrupt = first_interrupt;
    return interrupt < 0 ? nullptr : system::name_of(static_cast<system::Interrupt>(interrupt)).data();
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
