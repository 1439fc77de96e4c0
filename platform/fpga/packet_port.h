// SPDX-License-Identifier: Apache-2.0
// The configuration port of the packet families: Spartan-2, Virtex, Virtex-E, Virtex-2, Virtex-2 Pro.
#ifndef KVN_FPGA_PACKET_PORT_H
#define KVN_FPGA_PACKET_PORT_H

#include "bits.h"
#include "configuration_port.h"
#include "packet_reader.h"
#include "packets.h"

#include <array>

namespace fpga
{

/// The frame store: steps through the device's frame addresses and knows which have been written.
class FrameStore
{
public:
    explicit FrameStore(const Device& device);

    void seek(std::uint32_t address);
    /// Stores a frame at the current address and steps to the next.
    void store();
    [[nodiscard]] std::uint64_t written() const { return written_; }
    [[nodiscard]] std::uint64_t expected() const { return stored_.size(); }
    /// Frames whose address the device does not have.
    [[nodiscard]] std::uint64_t stray() const { return stray_; }

private:
    static constexpr std::size_t NOWHERE = static_cast<std::size_t>(-1);
    struct Place {
        Column column;
        std::size_t first;
    };
    std::vector<Place> columns_;                            ///< in address order
    std::array<std::array<std::size_t, 256>, 4> column_at_; ///< index into columns_ by block and major
    std::vector<bool> stored_;
    std::size_t column_ = 0; ///< index into columns_, or NOWHERE
    unsigned minor_ = 0;
    std::uint64_t written_ = 0;
    std::uint64_t stray_ = 0;
};

class PacketPort final : public ConfigurationPort
{
public:
    explicit PacketPort(const Device& device);
    void take(std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] PortReport report() const override;
    [[nodiscard]] Outcome outcome() const override;

private:
    void obey(const PacketWord& packet);
    void begin_write(const PacketWord& packet);
    void write_register(unsigned address, std::uint32_t word);
    void command(std::uint32_t code);
    void set_frame_length(std::uint32_t word);
    void check_idcode(std::uint32_t word);
    void take_frame_word();
    void check_crc(std::uint32_t word);
    bool crc_matches(std::uint32_t word);
    void start_up();
    void fail(Outcome outcome, std::string reason);
    [[nodiscard]] bool settled() const { return started_ || failed_; }
    [[nodiscard]] bool virtex2() const { return architecture_ == Architecture::virtex2; }

    const Device& device_;
    Architecture architecture_;
    FrameStore frames_;
    PacketReader reader_;
    PacketCrc crc_;
    std::uint64_t bytes_ = 0;
    unsigned frame_words_ = 0; ///< words now in the frame register
    bool frame_pending_ = false;
    bool writing_frames_ = false;
    bool ghigh_released_ = false;
    bool start_requested_ = false;
    bool crc_unchecked_ = false;
    bool frame_length_differs_ = false;

    bool started_ = false;
    bool failed_ = false;
    Outcome failure_ = Outcome::violation;
    std::string reason_;

    std::optional<std::uint32_t> idcode_;
    std::optional<std::uint32_t> frame_size_;
    std::uint64_t bits_to_done_ = 0;
    std::uint64_t crc_checks_passed_ = 0;
    struct Tally {
        std::uint64_t packets = 0;
        std::uint64_t words = 0;
    };
    std::array<Tally, REGISTER_COUNT> tallies_{};
};

} // namespace fpga

#endif
