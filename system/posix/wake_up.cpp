// SPDX-License-Identifier: Apache-2.0
// A wake-up is an eventfd.
#include "system/wake_up.h"

#include "system/descriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kvn::system
{

struct WakeUp::State {
    Descriptor descriptor;
};

WakeUp::WakeUp() : state_{new State{Descriptor{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}}}
{
    if (!state_->descriptor.is_open())
        throw std::system_error{errno, std::generic_category(), "eventfd"};
}

WakeUp::~WakeUp() = default;

void WakeUp::signal() const noexcept
{
    // The call of the handler of a signal: eventfd_write is not among those that it may make.
    const eventfd_t one = 1;
    (void)!::write(state_->descriptor.number(), &one, sizeof one);
}

void WakeUp::acknowledge() const noexcept
{
    eventfd_t unused = 0;
    (void)::eventfd_read(state_->descriptor.number(), &unused);
}

Waitable WakeUp::waitable() const noexcept
{
    return Waitable{state_->descriptor.number()};
}

} // namespace kvn::system
