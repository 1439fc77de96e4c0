// SPDX-License-Identifier: Apache-2.0
// Counts the packets of a configuration stream: registers written and commands given.
#ifndef KVN_ENGINE_FILE_PACKET_SUMMARY_H
#define KVN_ENGINE_FILE_PACKET_SUMMARY_H

#include "packet_reader.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// Follows a stream as far as the first word that is no packet.
class PacketSummary
{
public:
    /// Without an architecture (which must not be Architecture::length_count) the stream decides.
    explicit PacketSummary(std::optional<fpga::Architecture> architecture = std::nullopt)
        : reader_{architecture}
    {
    }

    struct Register {
        std::string name;
        std::uint64_t packets = 0;
        std::uint64_t words = 0;
    };
    struct Command {
        std::string name;
        std::uint64_t count = 0;
    };

    /// Takes bytes in transmission order: the first configuration bit in bit 0.
    void take(std::span<const std::uint8_t> bytes);

    /// The registers that were written, in the order of their addresses.
    [[nodiscard]] std::vector<Register> registers() const;
    /// The commands, in the order of their first appearance.
    [[nodiscard]] const std::vector<Command>& commands() const { return commands_; }
    /// The bit at which the synchronisation word begins.
    [[nodiscard]] std::optional<std::uint64_t> sync_bit() const { return reader_.sync_bit(); }
    [[nodiscard]] std::optional<std::uint32_t> idcode() const { return idcode_; }
    /// The words of a frame.
    [[nodiscard]] std::optional<std::uint32_t> frame_size() const { return frame_size_; }

private:
    void note(const fpga::PacketWord& packet);
    void note_command(std::uint32_t code);

    static constexpr std::size_t REGISTERS = 32;
    struct Tally {
        std::uint64_t packets = 0;
        std::uint64_t words = 0;
    };
    std::array<Tally, REGISTERS> tallies_{};
    std::vector<Command> commands_;
    std::optional<std::uint32_t> idcode_;
    std::optional<std::uint32_t> frame_size_;
    fpga::PacketReader reader_;
    bool ended_ = false;
};

} // namespace kvn

#endif
