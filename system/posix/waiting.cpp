// SPDX-License-Identifier: Apache-2.0
// Waits by poll(2).
#include "system/waiting.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <vector>

bool kvn::system::wait(std::span<Awaited> entries, int milliseconds)
{
    std::vector<pollfd> waiting(entries.size());
    std::ranges::transform(entries, waiting.begin(), [](const Awaited& entry) {
        return pollfd{static_cast<int>(entry.what), static_cast<short>(entry.to_write ? POLLOUT : POLLIN), 0};
    });
    const int ready = ::poll(waiting.data(), waiting.size(), milliseconds);
    if (ready < 0 && errno != EINTR)
        throw std::system_error{errno, std::generic_category(), "poll"};
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i].is_ready = ready > 0 && waiting[i].revents != 0;
    return ready > 0;
}
