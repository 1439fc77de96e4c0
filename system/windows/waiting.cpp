// SPDX-License-Identifier: Apache-2.0
// Waits until a thread that reads, writes or hears signals has set a flag.
#include "system/waiting.h"

#include "system/windows/readiness.h"

#include <chrono>

namespace kvn::system
{
namespace windows
{

Board& board()
{
    // Threads that the process ends with may still use it.
    static auto* const all = new Board; // NOLINT(cppcoreguidelines-owning-memory)
    return *all;
}

} // namespace windows

namespace
{

/// @return whether any is ready; the board's mutex is held
bool look(std::span<Awaited> entries)
{
    bool is_any_ready = false;
    for (Awaited& entry : entries) {
        entry.is_ready =
            entry.what != Waitable::none && reinterpret_cast<const windows::Readiness*>(entry.what)->is_ready;
        is_any_ready = is_any_ready || entry.is_ready;
    }
    return is_any_ready;
}

} // namespace

bool wait(std::span<Awaited> entries, int milliseconds)
{
    windows::Board& board = windows::board();
    std::unique_lock lock{board.mutex};
    const auto is_any_ready = [&] { return look(entries); };
    if (milliseconds >= 0)
        return board.changed.wait_for(lock, std::chrono::milliseconds{milliseconds}, is_any_ready);
    board.changed.wait(lock, is_any_ready);
    return true;
}

} // namespace kvn::system
