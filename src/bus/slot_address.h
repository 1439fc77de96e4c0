// SPDX-License-Identifier: Apache-2.0
// Slot addresses: joined, split and checked here alone.
//
// A slot address (the kavrinid) is one byte: the slot, 1 to 4, in the low four bits and the number of the
// board that carries the module, 0 to 15, in the high four.
#ifndef KVN_FPGA_BUS_SLOT_ADDRESS_H
#define KVN_FPGA_BUS_SLOT_ADDRESS_H

#include <cstdint>

inline constexpr int FIRST_SLOT = 1;
inline constexpr int LAST_SLOT = 4;
inline constexpr int BOARDS = 16;

/// Whether a board carries a slot of this number.
constexpr bool is_slot(std::int64_t number)
{
    return number >= FIRST_SLOT && number <= LAST_SLOT;
}

constexpr bool is_board(std::int64_t number)
{
    return number >= 0 && number < BOARDS;
}

/// Only the low three bits of the slot and the low four of the board enter the address.
constexpr std::uint8_t join_slot_address(std::uint32_t slot, std::uint32_t board)
{
    return static_cast<std::uint8_t>((slot & 7U) | board << 4);
}

constexpr std::uint32_t board_of(int slot_address)
{
    return (static_cast<std::uint32_t>(slot_address) >> 4) & 15;
}

constexpr std::uint8_t slot_of(int slot_address)
{
    return static_cast<std::uint8_t>(slot_address & 15);
}

#endif
