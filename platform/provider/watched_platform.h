// SPDX-License-Identifier: Apache-2.0
// A platform whose calls are watched, so that its program knows at any time how far a load is.
#ifndef MWAPI_WATCHED_PLATFORM_H
#define MWAPI_WATCHED_PLATFORM_H

#include "uniform_platform.h"

#include <atomic>
#include <memory>

namespace mwapi
{

/// How far the load in hand is.
enum class LoadPhase {
    none,     ///< no board has been opened
    opened,   ///< a board is open, and no module has been sent anything of a load
    sending,  ///< a module has part of the data
    sent,     ///< it has all data, and its verdict is not known
    accepted, ///< it has started
    refused   ///< it has not
};

/// What watching has found. All of it may be read at any time, by signal handlers too.
struct LoadWatch {
    std::atomic<LoadPhase> phase{LoadPhase::none};
    /// Of the module that the last load is for: slot in the low four bits, board in the high four.
    std::atomic<std::uint32_t> slot_address{0};
    /// Loads that modules have accepted.
    std::atomic<unsigned> accepted{0};
};
static_assert(std::atomic<LoadPhase>::is_always_lock_free && std::atomic<std::uint32_t>::is_always_lock_free);

/// In front of another platform. Only the calls that begin and end a message or read a reply pass through it,
/// a handful for a load; all others, those with data among them, go directly to the watched functions. So a
/// call of data costs the same with and without it. For one bus at a time; there is one in a process.
class WatchedPlatform final : public UniformPlatform<WatchedPlatform>
{
public:
    /// @param watched has C functions of its own (Platform::functions())
    /// @param watch receives what is found; it must outlive this
    WatchedPlatform(std::unique_ptr<Platform> watched, LoadWatch& watch);

    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (functions_.*CALL<function>.function)(arguments...);
    }
    [[nodiscard]] std::string_view announcement() const override { return watched_->announcement(); }
    [[nodiscard]] const Functions* functions() const override { return &functions_; }

private:
    std::unique_ptr<Platform> watched_;
    Functions functions_;
};

} // namespace mwapi

#endif
