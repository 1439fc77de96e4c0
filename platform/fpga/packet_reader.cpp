// SPDX-License-Identifier: Apache-2.0
// Reads a packet stream: finds its words and tells packet headers from data.
#include "packet_reader.h"

#include "bits.h"
#include "packets.h"

#include <utility>

namespace fpga
{

using Kind = PacketWord::Kind;

std::optional<PacketWord> PacketReader::take(std::uint8_t byte)
{
    constexpr unsigned WORD_BITS = 32;
    ++bytes_;
    shift_ = shift_ << 8 | REVERSED[byte];
    held_bits_ += 8;
    if (!synchronised_) {
        search_sync();
        return std::nullopt;
    }
    if (held_bits_ < WORD_BITS)
        return std::nullopt;
    held_bits_ -= WORD_BITS;
    return read(static_cast<std::uint32_t>(shift_ >> held_bits_));
}

// The word may begin at any bit; its own first bit is a one, so bits never fed cannot complete it.
void PacketReader::search_sync()
{
    for (unsigned behind = 8; behind-- > 0;) {
        if (static_cast<std::uint32_t>(shift_ >> behind) != SYNC_WORD)
            continue;
        if (!sync_bit_)
            sync_bit_ = bytes_ * 8 - behind - 32;
        synchronised_ = true;
        held_bits_ = behind;
        return;
    }
    held_bits_ = 0;
}

std::optional<PacketWord> PacketReader::read(std::uint32_t word)
{
    if (remaining_ != 0)
        return read_data(word);
    if (std::exchange(automatic_crc_is_due_, false))
        return PacketWord{Kind::automatic_crc, word};
    return read_header(word);
}

std::optional<PacketWord> PacketReader::read_header(std::uint32_t word)
{
    constexpr unsigned NO_OPERATION = 0;
    constexpr unsigned WRITE = 2;
    const unsigned type = word >> 29;
    const unsigned operation = word >> 27 & 0x3;
    const bool type2_allowed = std::exchange(type2_may_follow_, false);

    if (word == 0 && may_be(Architecture::virtex))
        return std::nullopt;
    if (type != 1 && type != 2)
        return PacketWord{Kind::no_header, word};
    if (operation == NO_OPERATION)
        return std::nullopt;
    if (operation != WRITE)
        return PacketWord{Kind::no_write, word};
    if (type == 2)
        return type2_allowed ? begin_write(Kind::write_more, word, word & TYPE2_MAX_COUNT)
                             : PacketWord{Kind::stray_type2, word};
    address_ = word >> 13 & (may_be(Architecture::virtex2) ? 0x1FU : 0xFU);
    type2_may_follow_ = (word & TYPE1_MAX_COUNT) == 0;
    return begin_write(Kind::write, word, word & TYPE1_MAX_COUNT);
}

PacketWord PacketReader::begin_write(Kind kind, std::uint32_t word, std::uint32_t count)
{
    remaining_ = count;
    return {kind, word, address_, count};
}

PacketWord PacketReader::read_data(std::uint32_t word)
{
    if (!architecture_ && address_ == REG_IDCODE)
        architecture_ = Architecture::virtex2;
    if (--remaining_ == 0)
        automatic_crc_is_due_ = address_ == REG_FDRI && is_virtex2();
    if (address_ == REG_CMD && word == CMD_DESYNCH && may_be(Architecture::virtex2))
        desynchronise();
    return {Kind::data, word, address_};
}

// Bits of words already read are no part of the next synchronisation word.
void PacketReader::desynchronise()
{
    synchronised_ = false;
    remaining_ = 0;
    shift_ &= (std::uint64_t{1} << held_bits_) - 1;
}

} // namespace fpga
