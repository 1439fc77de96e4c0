// SPDX-License-Identifier: Apache-2.0
// Reads a packet stream: finds its words and tells packet headers from data.
#ifndef KVN_FPGA_PACKET_READER_H
#define KVN_FPGA_PACKET_READER_H

#include "devices.h"

#include <cstdint>
#include <optional>
#include <span>

namespace fpga
{

/// What a word of a packet stream is.
struct PacketWord {
    enum class Kind {
        write,         ///< a header that announces `count` words for the register `address`
        write_more,    ///< the same by a type 2 header: the register is that of the header before it
        data,          ///< a word for the register `address`
        automatic_crc, ///< the CRC word behind frame data, which no header announces (Virtex-2 class)
        no_header,     ///< a word that is no packet header where one is due
        no_write,      ///< a header that asks for a read or a reserved operation
        stray_type2    ///< a type 2 header that follows no empty type 1 packet
    };
    Kind kind;
    std::uint32_t word;
    unsigned address = 0;
    std::uint32_t count = 0;

    /// Whether nothing behind the word can be told: the reader goes on, but by guessing.
    [[nodiscard]] bool is_fault() const { return kind >= Kind::no_header; }
};

/// Reads the stream of one device, or of a device that is not known. Words that do nothing are passed over.
class PacketReader
{
public:
    /// Without an architecture the stream decides: once it has written a device ID, it is of the Virtex-2
    /// class. It must not be Architecture::length_count, whose streams hold no packets.
    explicit PacketReader(std::optional<Architecture> architecture = std::nullopt)
        : architecture_{architecture}
    {
    }

    /// Takes a byte in transmission order: its first configuration bit is bit 0.
    /// @return the word that it completes, if that means anything
    std::optional<PacketWord> take(std::uint8_t byte);

    /// Takes bytes in transmission order until a word ends the reading.
    /// @param obey is called with each word that means anything, and returns whether to read on
    template <class Obey>
    void take(std::span<const std::uint8_t> bytes, Obey obey)
    {
        for (const std::uint8_t byte : bytes)
            if (const auto word = take(byte); word && !obey(*word))
                return;
    }

    /// The bit at which the first synchronisation word begins; nothing before one was found.
    [[nodiscard]] std::optional<std::uint64_t> sync_bit() const { return sync_bit_; }
    /// The bits taken up to the end of the last whole word.
    [[nodiscard]] std::uint64_t bits_read() const { return bytes_ * 8 - held_bits_; }

private:
    void search_sync();
    std::optional<PacketWord> read(std::uint32_t word);
    std::optional<PacketWord> read_header(std::uint32_t word);
    PacketWord begin_write(PacketWord::Kind kind, std::uint32_t word, std::uint32_t count);
    PacketWord read_data(std::uint32_t word);
    void desynchronise();
    [[nodiscard]] bool may_be(Architecture architecture) const
    {
        return !architecture_ || *architecture_ == architecture;
    }
    [[nodiscard]] bool is_virtex2() const { return architecture_ == Architecture::virtex2; }

    std::optional<Architecture> architecture_;
    std::uint64_t bytes_ = 0;
    std::uint64_t shift_ = 0; ///< bits not yet made into a word, in the low end
    unsigned held_bits_ = 0;
    bool synchronised_ = false;
    std::optional<std::uint64_t> sync_bit_;

    unsigned address_ = 0;        ///< of the packet in hand
    std::uint32_t remaining_ = 0; ///< its data words still to come
    bool automatic_crc_is_due_ = false;
    bool type2_may_follow_ = false;
};

} // namespace fpga

#endif
