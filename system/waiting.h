// SPDX-License-Identifier: Apache-2.0
// Waits until one of several pipes or wake-ups has something.
#ifndef KVN_SYSTEM_WAITING_H
#define KVN_SYSTEM_WAITING_H

#include <cstdint>
#include <span>

namespace kvn::system
{

/// What can be waited for. The objects that have one say what it becomes ready by.
enum class Waitable : std::intptr_t { none = -1 };

/// An entry of wait().
struct Awaited {
    Waitable what = Waitable::none; ///< none: never ready
    bool to_write = false;          ///< until it takes bytes, instead of giving some
    bool is_ready = false;          ///< set by wait(); also at the end, or on an error, of what is waited for
};

/// Waits until an entry is ready, and sets is_ready of all. May be called in several threads, each with
/// entries of its own.
/// @param milliseconds at most; -1: for ever
/// @return false when the time has passed, or a signal has come: then none is ready
/// @throws std::system_error
bool wait(std::span<Awaited> entries, int milliseconds);

} // namespace kvn::system

#endif
