// SPDX-License-Identifier: Apache-2.0
// What a packet stream leaves in a device.
#include "file/frame_image.h"

#include <algorithm>

namespace kvn
{

FrameImage::FrameImage(const fpga::Device& device) : device_{device}, reader_{device.architecture()}
{
    for (const fpga::Column& column : fpga::frame_columns(device))
        for (unsigned minor = 0; minor < column.frames; ++minor) {
            index_.emplace(fpga::frame_address(column.block, column.major, minor), places_.size());
            places_.push_back({column.block, column.major, minor});
        }
    stored_.resize(places_.size() * device.frame_size);
    written_.resize(places_.size());
}

void FrameImage::take(std::span<const std::uint8_t> bytes)
{
    if (ended_)
        return;
    reader_.take(bytes, [this](const fpga::PacketWord& packet) {
        obey(packet);
        return !ended_;
    });
}

void FrameImage::obey(const fpga::PacketWord& packet)
{
    if (packet.is_fault())
        return break_off();
    if (packet.kind == fpga::PacketWord::Kind::data)
        write(packet.address, packet.word);
}

void FrameImage::write(unsigned reg, std::uint32_t word)
{
    if (reg >= fpga::REGISTER_COUNT || reg == fpga::REG_MFWR)
        return break_off(); // one frame for several addresses is not modelled
    if (reg == fpga::REG_FDRI)
        return take_frame_word(word);
    if (reg == fpga::REG_CRC) {
        ended_ = start_requested_; // the device runs: what follows means nothing to it
        return;
    }
    if (registers_[reg].size() < KEPT_WORDS)
        registers_[reg].push_back(word);
    if (reg == fpga::REG_FAR)
        seek(word);
    if (reg == fpga::REG_FLR && word + 1 != device_.frame_size)
        break_off();
    if (reg == fpga::REG_CMD && word == fpga::CMD_START)
        start_requested_ = true;
}

void FrameImage::seek(std::uint32_t address)
{
    constexpr std::uint32_t FRAME = 0x07FFFE00;
    const auto found = index_.find(address & FRAME);
    place_ = found == index_.end() ? places_.size() : found->second;
    shifting_.clear();
    pending_.clear();
}

// As in the device: a frame is stored when the next one has come in, so that the last one of a block is a
// pad.
void FrameImage::take_frame_word(std::uint32_t word)
{
    shifting_.push_back(word);
    if (shifting_.size() < device_.frame_size)
        return;
    if (!pending_.empty())
        store();
    pending_.swap(shifting_);
    shifting_.clear();
}

void FrameImage::store()
{
    if (place_ >= places_.size())
        return break_off();
    std::ranges::copy(pending_, stored_.begin() + static_cast<std::ptrdiff_t>(place_ * device_.frame_size));
    written_[place_] = true;
    writes_frames_ = true;
    ++place_;
}

FrameImage::Frame FrameImage::frame(std::size_t index) const
{
    const Place& place = places_.at(index);
    const std::span words{stored_};
    return {place.block, place.major, place.minor,
            written_[index] ? words.subspan(index * device_.frame_size, device_.frame_size)
                            : std::span<const std::uint32_t>{}};
}

} // namespace kvn
