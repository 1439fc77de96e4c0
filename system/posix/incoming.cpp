// SPDX-License-Identifier: Apache-2.0
// A descriptor can be waited for as it is.
#include "system/incoming.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace kvn::system
{

struct Incoming::State {
    int descriptor;
};

Incoming::Incoming(int descriptor) : state_{new State{descriptor}} {}

Incoming::~Incoming() = default;

std::optional<std::size_t> Incoming::read_some(std::span<char> to)
{
    const ssize_t size = ::read(state_->descriptor, to.data(), to.size());
    return size < 0 ? std::nullopt : std::optional{static_cast<std::size_t>(size)};
}

void Incoming::discard() noexcept
{
    (void)::tcflush(state_->descriptor, TCIFLUSH);
}

Waitable Incoming::waitable() const noexcept
{
    return Waitable{state_->descriptor};
}

} // namespace kvn::system
