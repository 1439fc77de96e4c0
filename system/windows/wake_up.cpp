// SPDX-License-Identifier: Apache-2.0
// A wake-up is a flag: Windows calls the handlers of signals on threads of their own.
#include "system/wake_up.h"

#include "system/windows/readiness.h"

namespace kvn::system
{
namespace
{

void set(windows::Readiness& flag, bool value)
{
    windows::Board& board = windows::board();
    const std::lock_guard lock{board.mutex};
    flag.is_ready = value;
    board.changed.notify_all();
}

} // namespace

struct WakeUp::State {
    windows::Readiness flag;
};

WakeUp::WakeUp() : state_{new State} {}

WakeUp::~WakeUp() = default;

void WakeUp::signal() const noexcept
{
    set(state_->flag, true);
}

void WakeUp::acknowledge() const noexcept
{
    set(state_->flag, false);
}

Waitable WakeUp::waitable() const noexcept
{
    return state_->flag.waitable();
}

} // namespace kvn::system
