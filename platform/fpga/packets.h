// SPDX-License-Identifier: Apache-2.0
// Words of the packet families' configuration streams.
#ifndef KVN_FPGA_PACKETS_H
#define KVN_FPGA_PACKETS_H

#include <array>
#include <cstdint>

namespace fpga
{

inline constexpr std::uint32_t PAD_WORD = 0xFFFFFFFF;
inline constexpr std::uint32_t SYNC_WORD = 0xAA995566;
inline constexpr std::uint32_t NOOP_WORD = 0x20000000;
/// What stands in place of the CRC in streams made for an unchecked configuration.
inline constexpr std::uint32_t UNCHECKED_CRC_WORD = 0x0000DEFC;

enum Register : unsigned {
    REG_CRC = 0,
    REG_FAR = 1,
    REG_FDRI = 2,
    REG_FDRO = 3,
    REG_CMD = 4,
    REG_CTL = 5,
    REG_MASK = 6,
    REG_STAT = 7,
    REG_LOUT = 8,
    REG_COR = 9,
    REG_MFWR = 10,
    REG_FLR = 11,
    REG_KEY = 12,
    REG_CBC = 13,
    REG_IDCODE = 14
};
inline constexpr unsigned REGISTER_COUNT = 15;
inline constexpr std::array<const char*, REGISTER_COUNT> REGISTER_NAMES = {
    "CRC",  "FAR", "FDRI", "FDRO", "CMD", "CTL", "MASK",  "STAT",
    "LOUT", "COR", "MFWR", "FLR",  "KEY", "CBC", "IDCODE"};

enum Command : std::uint32_t {
    CMD_NULL = 0,
    CMD_WCFG = 1,
    CMD_LFRM = 3,
    CMD_RCFG = 4,
    CMD_START = 5,
    CMD_RCRC = 7,
    CMD_AGHIGH = 8,
    CMD_SWITCH = 9,
    CMD_GRESTORE = 10,
    CMD_DESYNCH = 13
};
inline constexpr std::array<const char*, 14> COMMAND_NAMES = {
    "NULL", "WCFG",   "MFWR",   "LFRM",     "RCFG",     "START",    "RCAP",
    "RCRC", "AGHIGH", "SWITCH", "GRESTORE", "SHUTDOWN", "GCAPTURE", "DESYNCH"};

inline constexpr std::uint32_t TYPE1_MAX_COUNT = 0x7FF;
inline constexpr std::uint32_t TYPE2_MAX_COUNT = 0x07FFFFFF;

constexpr std::uint32_t type1_write(Register address, std::uint32_t count)
{
    return 0x30000000U | address << 13 | count;
}

constexpr std::uint32_t type2_write(std::uint32_t count)
{
    return 0x50000000U | count;
}

} // namespace fpga

#endif
