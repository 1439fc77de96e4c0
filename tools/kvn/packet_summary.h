// Counts the packets of a configuration stream: registers written and commands given.
#ifndef KVN_PACKET_SUMMARY_H
#define KVN_PACKET_SUMMARY_H

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn
{

/// Follows a stream of any device, as far as the desynchronisation or the first word that is no packet.
/// Takes bytes in transmission order: the first configuration bit in bit 0.
class PacketSummary
{
public:
    struct Register {
        std::string name;
        std::uint64_t packets = 0;
        std::uint64_t words = 0;
    };
    struct Command {
        std::string name;
        std::uint64_t count = 0;
    };

    void take(std::span<const std::uint8_t> bytes);

    /// The registers that were written, in the order of their addresses.
    [[nodiscard]] std::vector<Register> registers() const;
    /// The commands, in the order of their first appearance.
    [[nodiscard]] const std::vector<Command>& commands() const { return commands_; }
    /// The bit at which the synchronisation word begins.
    [[nodiscard]] std::optional<std::uint64_t> sync_bit() const { return sync_bit_; }
    [[nodiscard]] std::optional<std::uint32_t> idcode() const { return idcode_; }

private:
    void take_word(std::uint32_t word);
    void take_header(std::uint32_t word);
    void note_command(std::uint32_t code);

    static constexpr std::size_t REGISTERS = 32;
    struct Tally {
        std::uint64_t packets = 0;
        std::uint64_t words = 0;
    };
    std::array<Tally, REGISTERS> tallies_{};
    std::vector<Command> commands_;
    std::optional<std::uint64_t> sync_bit_;
    std::optional<std::uint32_t> idcode_;
    std::uint64_t bytes_ = 0;
    std::uint64_t shift_ = 0;
    unsigned held_bits_ = 0; ///< of shift_, behind the last whole word
    bool ended_ = false;
    unsigned address_ = 0;
    std::uint32_t remaining_ = 0;
    bool skips_automatic_crc_ = false;
};

} // namespace kvn

#endif
