// SPDX-License-Identifier: Apache-2.0
// The header of a BIT file.
#ifndef KVN_FPGA_FORMATS_BIT_HEADER_H
#define KVN_FPGA_FORMATS_BIT_HEADER_H

#include <cstdint>

/// The parsed header. It owns its four zero-terminated texts; kvn_fpga_imp::free_header releases them.
struct BitHeader {
    std::uint32_t magic_length{};
    std::uint8_t magic[9] = {};
    std::uint32_t a_length{};
    char a_key{};
    std::uint32_t ncd_length{};
    char* ncd_name = nullptr;
    char b_key{};
    std::uint32_t device_length{};
    char* device = nullptr;
    char c_key{};
    std::uint32_t date_length{};
    char* date = nullptr;
    char d_key{};
    std::uint32_t time_length{};
    char* time = nullptr;
    char e_key{};
    std::uint32_t byte_count{};
};

/// The number of configuration bits that a header states, in 32 bits: it wraps, as does the number of bits
/// found.
constexpr std::int32_t stated_bits(const BitHeader& header)
{
    return static_cast<std::int32_t>(header.byte_count * 8U);
}

#endif
