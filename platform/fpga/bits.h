// SPDX-License-Identifier: Apache-2.0
// Bit order and the CRC of the packet families, shared by the chip model and the stream builder.
#ifndef KVN_FPGA_BITS_H
#define KVN_FPGA_BITS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace fpga
{

constexpr std::uint8_t reverse_bits(std::uint8_t byte)
{
    unsigned result = 0;
    for (unsigned bit = 0; bit < 8; ++bit)
        result |= (byte >> bit & 1U) << (7 - bit);
    return static_cast<std::uint8_t>(result);
}

inline constexpr std::array<std::uint8_t, 256> REVERSED = [] {
    std::array<std::uint8_t, 256> reversed{};
    for (unsigned byte = 0; byte < reversed.size(); ++byte)
        reversed[byte] = reverse_bits(static_cast<std::uint8_t>(byte));
    return reversed;
}();

/// The CRC register of the packet families: x^16 + x^15 + x^2 + 1, least significant bit first.
class PacketCrc
{
public:
    /// address_bits: 4 in the Virtex class, 5 in the Virtex-2 class.
    explicit constexpr PacketCrc(unsigned address_bits) : address_bits_{address_bits} {}

    constexpr void clear() { register_ = 0; }
    [[nodiscard]] constexpr std::uint16_t value() const { return register_; }

    /// Adds a data word and the address of the register that it was written to.
    constexpr void feed(std::uint32_t word, unsigned address)
    {
        for (unsigned shift = 0; shift < 32; shift += 8)
            step(BYTE_TABLE[(register_ ^ word >> shift) & 0xFF], 8);
        const unsigned mask = (1U << address_bits_) - 1;
        step(advance((register_ ^ address) & mask, address_bits_), address_bits_);
    }

private:
    static constexpr std::uint16_t advance(unsigned value, unsigned steps)
    {
        constexpr unsigned POLYNOMIAL = 0xA001;
        for (unsigned i = 0; i < steps; ++i)
            value = (value & 1U) != 0 ? value >> 1 ^ POLYNOMIAL : value >> 1;
        return static_cast<std::uint16_t>(value);
    }
    constexpr void step(std::uint16_t change, unsigned steps)
    {
        register_ = static_cast<std::uint16_t>(register_ >> steps ^ change);
    }
    static const std::array<std::uint16_t, 256> BYTE_TABLE;

    unsigned address_bits_;
    std::uint16_t register_ = 0;
};

inline constexpr std::array<std::uint16_t, 256> PacketCrc::BYTE_TABLE = [] {
    std::array<std::uint16_t, 256> values{};
    for (unsigned byte = 0; byte < values.size(); ++byte)
        values[byte] = advance(byte, 8);
    return values;
}();

/// The check register of the length-count families: the same polynomial, shifted left, fed with inverse bits.
class FrameCheck
{
public:
    constexpr void feed(unsigned bit)
    {
        constexpr unsigned POLYNOMIAL = 0x8005;
        const unsigned top = static_cast<unsigned>(register_) >> 15;
        const unsigned shifted = static_cast<unsigned>(register_) << 1 & 0xFFFFU;
        register_ = static_cast<std::uint16_t>((top ^ (1U - bit)) != 0 ? shifted ^ POLYNOMIAL : shifted);
    }
    /// The low bits; 0 if the last check bits fed were right.
    [[nodiscard]] constexpr unsigned low(unsigned bits) const { return register_ & ((1U << bits) - 1); }

private:
    std::uint16_t register_ = 0;
};

} // namespace fpga

#endif
