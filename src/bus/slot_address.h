// The two halves of a slot address.
#ifndef KVN_FPGA_BUS_SLOT_ADDRESS_H
#define KVN_FPGA_BUS_SLOT_ADDRESS_H

#include <cstdint>

/// The number of the board that carries the module.
constexpr std::uint32_t board_of(int slot_address)
{
    return (static_cast<std::uint32_t>(slot_address) >> 4) & 15;
}

constexpr std::uint32_t slot_of(int slot_address)
{
    return static_cast<std::uint32_t>(slot_address) & 15;
}

#endif
