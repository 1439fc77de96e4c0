// SPDX-License-Identifier: Apache-2.0
// How far a load is, by the calls that pass.
#ifndef MWAPI_LOAD_WATCH_H
#define MWAPI_LOAD_WATCH_H

#include <atomic>
#include <cstdint>

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

/// What watching has found. All of it may be read at any time, by signal handlers too; it is noted on one
/// thread.
struct LoadWatch {
    std::atomic<LoadPhase> phase{LoadPhase::none};
    /// Of the module that the last load is for: slot in the low four bits, board in the high four.
    std::atomic<std::uint32_t> slot_address{0};
    /// Loads that modules have accepted.
    std::atomic<unsigned> accepted{0};
    /// The first byte of the last reply in pieces.
    std::atomic<std::uint8_t> verdict{0};

    /// MwOpenS has returned.
    void note_open(std::uint32_t result);
    /// MwKSBStartSendMessageEx has returned.
    void note_start(std::uint32_t result, std::uint32_t board, std::uint32_t slot);
    /// MwKSBEndOfSendMessageEx is called: from here on it is open whether the module has all data.
    void note_end();
    /// MwKSBReceiveMessageDataEx has returned.
    void note_reply(const void* data, std::uint32_t size);
    /// MwKSBEndOfReceiveMessageEx has returned. The verdict counts only now, as for the library.
    void note_end_of_reply(std::uint32_t result);
};
static_assert(std::atomic<LoadPhase>::is_always_lock_free &&
              std::atomic<std::uint32_t>::is_always_lock_free &&
              std::atomic<std::uint8_t>::is_always_lock_free);

} // namespace mwapi

#endif
