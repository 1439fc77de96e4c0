// SPDX-License-Identifier: Apache-2.0
// What system::wait() looks at: flags that other threads set.
#ifndef KVN_SYSTEM_WINDOWS_READINESS_H
#define KVN_SYSTEM_WINDOWS_READINESS_H

#include "system/waiting.h"

#include <condition_variable>
#include <mutex>

namespace kvn::system::windows
{

/// One for the process: Windows cannot wait for more than 64 objects, and a console, a pipe of another
/// process and a wake-up are no objects of the same kind.
struct Board {
    std::mutex mutex;
    std::condition_variable changed;
};
[[nodiscard]] Board& board();

/// Something that can be waited for. Its members are used under the board's mutex.
struct Readiness {
    bool is_ready = false;

    [[nodiscard]] Waitable waitable() const noexcept
    {
        return Waitable{reinterpret_cast<std::intptr_t>(this)};
    }
};

} // namespace kvn::system::windows

#endif
