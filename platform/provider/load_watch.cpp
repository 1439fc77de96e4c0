// SPDX-License-Identifier: Apache-2.0
// How far a load is, by the calls that pass.
#include "load_watch.h"

namespace mwapi
{
namespace
{

/// The status of a module that has started.
constexpr std::uint8_t CONFIGURED = 5;

} // namespace

void LoadWatch::note_open(std::uint32_t result)
{
    if (result == 0)
        phase = LoadPhase::opened;
}

void LoadWatch::note_start(std::uint32_t result, std::uint32_t board, std::uint32_t slot)
{
    if (result != 0)
        return;
    slot_address = (board & 15U) << 4U | (slot & 15U);
    phase = LoadPhase::sending;
}

void LoadWatch::note_end()
{
    phase = LoadPhase::sent;
}

void LoadWatch::note_reply(const void* data, std::uint32_t size)
{
    if (size > 0)
        verdict = *static_cast<const std::uint8_t*>(data);
}

void LoadWatch::note_end_of_reply(std::uint32_t result)
{
    if (result != 0 || phase != LoadPhase::sent)
        return;
    const bool starts = verdict == CONFIGURED;
    if (starts)
        ++accepted;
    phase = starts ? LoadPhase::accepted : LoadPhase::refused;
}

} // namespace mwapi
