// SPDX-License-Identifier: Apache-2.0
// What a packet stream leaves in a device: the words of its frames, and those of its registers.
#ifndef KVN_ENGINE_FILE_FRAME_IMAGE_H
#define KVN_ENGINE_FILE_FRAME_IMAGE_H

#include "packet_reader.h"
#include "packets.h"

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace kvn
{

class FrameImage
{
public:
    /// @param device of a packet family
    explicit FrameImage(const fpga::Device& device);

    /// Takes bytes in transmission order.
    void take(std::span<const std::uint8_t> bytes);

    /// Whether frames were written, and the stream was understood as far as the device obeys it.
    [[nodiscard]] bool is_whole() const { return writes_frames_ && !broke_off_; }

    struct Frame {
        unsigned block;
        unsigned major;
        unsigned minor;
        std::span<const std::uint32_t> words; ///< empty: never written; of several writes the last one counts
    };
    /// The frames of the device, in the order of their addresses.
    [[nodiscard]] std::size_t frames() const { return places_.size(); }
    [[nodiscard]] Frame frame(std::size_t index) const;

    /// The most words that are kept of a register.
    static constexpr std::size_t KEPT_WORDS = 16;
    /// The words written to a register, the first ones of them; none of those for frames and check sums.
    [[nodiscard]] std::span<const std::uint32_t> words(unsigned reg) const { return registers_.at(reg); }

private:
    struct Place {
        unsigned block;
        unsigned major;
        unsigned minor;
    };
    void obey(const fpga::PacketWord& packet);
    void write(unsigned reg, std::uint32_t word);
    void take_frame_word(std::uint32_t word);
    void store();
    void seek(std::uint32_t address);
    void break_off() { ended_ = broke_off_ = true; }

    const fpga::Device& device_;
    fpga::PacketReader reader_;
    std::vector<Place> places_;
    std::map<std::uint32_t, std::size_t> index_; ///< into places_, by address
    std::vector<std::uint32_t> stored_;          ///< the words of all frames
    std::vector<bool> written_;
    std::vector<std::uint32_t> shifting_; ///< the frame that comes in
    std::vector<std::uint32_t> pending_;  ///< the frame before it, which is stored when that one is in
    std::size_t place_ = 0;               ///< the next frame's; beyond the last one there is none
    std::array<std::vector<std::uint32_t>, fpga::REGISTER_COUNT> registers_;
    bool writes_frames_ = false;
    bool start_requested_ = false;
    bool ended_ = false;
    bool broke_off_ = false;
};

} // namespace kvn

#endif
