// The header of a BIT file.
#ifndef KVN_FPGA_FORMATS_BIT_HEADER_H
#define KVN_FPGA_FORMATS_BIT_HEADER_H

#include <cstdint>

/// The parsed header. It owns its four texts, each with a zero byte behind it; kvn_fpga_imp::free_header
/// releases them.
struct BitHeader {
    std::uint32_t magic_length = 0;
    std::uint8_t magic[9] = {};
    std::uint32_t a_length = 0;
    char a_key = 0;
    std::uint32_t ncd_length = 0;
    char* ncd_name = nullptr;
    char b_key = 0;
    std::uint32_t device_length = 0;
    char* device = nullptr;
    char c_key = 0;
    std::uint32_t date_length = 0;
    char* date = nullptr;
    char d_key = 0;
    std::uint32_t time_length = 0;
    char* time = nullptr;
    char e_key = 0;
    std::uint32_t byte_count = 0;
};

/// The configuration bits that a header states, in 32 bits as everywhere: a count beyond them wraps, as the
/// count of the bits found does.
constexpr std::int32_t stated_bits(const BitHeader& header)
{
    return static_cast<std::int32_t>(header.byte_count * 8U);
}

#endif
