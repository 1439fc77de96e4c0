// SPDX-License-Identifier: Apache-2.0
// The floor of a load: only the platform calls.
#include "bare_calls.h"

#include "mwapi.h"

void make_bare_calls(std::uint64_t calls)
{
    constexpr std::uint32_t piece_size = 8;
    constexpr std::uint32_t timeout = 5000;
    const std::uint8_t piece[piece_size] = {};
    for (; calls > 0; --calls)
        MwKSBSendMessageDataEx(nullptr, piece, sizeof piece, timeout);
}
