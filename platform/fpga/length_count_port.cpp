// SPDX-License-Identifier: Apache-2.0
// The configuration port of Spartan and Spartan-XL: a bit-serial stream of frames behind a length count.
#include "length_count_port.h"

#include <algorithm>
#include <utility>

namespace fpga
{
namespace
{

constexpr unsigned FRAME_CHECK_BITS = 4;
constexpr unsigned LAST_CHECK_BITS = 11;

} // namespace

void LengthCountPort::take(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        ++bytes_;
        if (part_ == Part::started || part_ == Part::failed)
            continue;
        for (unsigned bit = 0; bit < 8; ++bit)
            clock(byte >> bit & 1U);
    }
}

void LengthCountPort::clock(unsigned bit)
{
    if (part_ == Part::started || part_ == Part::failed)
        return;
    ++bits_;
    ++position_;
    shifted_ = shifted_ << 1 | bit;
    take_bit(bit);
    if (part_ != Part::failed)
        compare_count();
}

void LengthCountPort::take_bit(unsigned bit)
{
    switch (part_) {
    case Part::preamble:
        return search_preamble(bit);
    case Part::length_count:
        return take_length_count(bit);
    case Part::fill:
        return take_fill(bit);
    case Part::frames:
        return take_frame_bit(bit);
    case Part::postamble:
        return take_postamble(bit);
    default:
        return; // clocks of the start-up
    }
}

// The clocks are compared with the length count for equality: a match before all frames are in is lost, and
// the next one comes when the counter has gone round.
void LengthCountPort::compare_count()
{
    constexpr std::uint64_t COUNTER = 0xFFFFFF;
    if (!length_count_known_ || (bits_ & COUNTER) != length_count_)
        return;
    if (!all_frames_are_in()) {
        match_lost_ = true;
        return;
    }
    bits_to_done_ = bits_;
    part_ = Part::started;
}

std::uint32_t LengthCountPort::expected_length_count() const
{
    constexpr std::uint32_t CLOCKS_NOT_COUNTED = 7;
    return device_.stream_bits() - CLOCKS_NOT_COUNTED;
}

// The fill is at least eight ones; the first zero behind it must begin the preamble 0010.
void LengthCountPort::search_preamble(unsigned bit)
{
    constexpr unsigned FILL_BITS = 8;
    constexpr unsigned PREAMBLE_BITS = 4;
    constexpr std::uint32_t PREAMBLE = 0x2;
    if (bit != 0 && first_zero_ == 0) {
        position_ = std::min(position_, FILL_BITS);
        return;
    }
    if (first_zero_ == 0)
        first_zero_ = position_;
    if (first_zero_ <= FILL_BITS)
        return fail(Outcome::no_sync, {});
    if (position_ < first_zero_ + PREAMBLE_BITS - 1)
        return;
    if ((shifted_ & 0xF) != PREAMBLE)
        return fail(Outcome::no_sync, {});
    preamble_bit_ = bits_ - PREAMBLE_BITS;
    enter(Part::length_count);
}

// A device takes any length count; one that differs tells only afterwards why the device did not start.
void LengthCountPort::take_length_count(unsigned /*bit*/)
{
    constexpr unsigned LENGTH_COUNT_BITS = 24;
    if (position_ < LENGTH_COUNT_BITS)
        return;
    length_count_ = shifted_ & 0xFFFFFF;
    length_count_known_ = true;
    enter(Part::fill);
}

void LengthCountPort::take_fill(unsigned bit)
{
    constexpr unsigned FILL_BITS = 4;
    if (bit == 0)
        return fail(Outcome::violation, "no ones between the length count and the frames");
    if (position_ == FILL_BITS)
        enter(Part::frames);
}

void LengthCountPort::take_frame_bit(unsigned bit)
{
    if (position_ == 1 && bit != 0)
        return fail(Outcome::crc_error, "frame " + std::to_string(frames_) + " does not begin with a 0");
    if (frames_ == 0 && position_ <= 3)
        check_first_frame(position_, bit);
    else
        check_.feed(bit);
    if (position_ == device_.frame_size)
        end_frame();
}

// The check register sees the first start bit as 1 and the first data bit a second time in place of the
// second, which instead tells how frames are checked.
void LengthCountPort::check_first_frame(unsigned position, unsigned bit)
{
    if (position == 1) {
        check_.feed(1);
    } else if (position == 2) {
        first_data_bit_ = bit;
        check_.feed(bit);
    } else {
        constant_check_ = bit != 0;
        check_.feed(first_data_bit_);
    }
}

void LengthCountPort::end_frame()
{
    constexpr std::uint32_t CONSTANT_CHECK = 0x6;
    const bool last = frames_ + 1 == device_.length_count_frames;
    const bool good = constant_check_ ? (shifted_ & 0xF) == CONSTANT_CHECK
                                      : check_.low(last ? LAST_CHECK_BITS : FRAME_CHECK_BITS) == 0;
    if (!good)
        return fail(Outcome::crc_error, "the check bits of frame " + std::to_string(frames_) + " differ");
    ++frames_;
    position_ = 0;
    if (last)
        enter(Part::postamble);
}

void LengthCountPort::take_postamble(unsigned /*bit*/)
{
    constexpr unsigned POSTAMBLE_BITS = 8;
    constexpr std::uint32_t POSTAMBLE = 0x7F;
    if (position_ < POSTAMBLE_BITS)
        return;
    if ((shifted_ & 0xFF) != POSTAMBLE)
        return fail(Outcome::violation, "no postamble behind the last frame");
    enter(Part::clocks);
}

void LengthCountPort::enter(Part part)
{
    part_ = part;
    position_ = 0;
}

void LengthCountPort::fail(Outcome outcome, std::string reason)
{
    part_ = Part::failed;
    failure_ = outcome;
    reason_ = std::move(reason);
}

Outcome LengthCountPort::outcome() const
{
    switch (part_) {
    case Part::preamble:
        return Outcome::no_sync;
    case Part::started:
        return Outcome::done;
    case Part::failed:
        return length_count_differs() ? Outcome::wrong_device : failure_;
    default:
        return length_count_differs() ? Outcome::wrong_device : Outcome::data_short;
    }
}

std::string LengthCountPort::reason() const
{
    switch (outcome()) {
    case Outcome::done:
        return "DONE went high after " + std::to_string(bits_to_done_) + " bits";
    case Outcome::no_sync:
        return "no preamble in " + std::to_string(bytes_) + " bytes";
    case Outcome::wrong_device:
        return "length count " + std::to_string(length_count_) + " differs from " +
               std::to_string(expected_length_count()) + " of a " + std::string{device_.name};
    case Outcome::data_short:
        if (match_lost_ && all_frames_are_in())
            return "the length count " + std::to_string(length_count_) +
                   " was reached before all frames were loaded, so it starts nothing";
        return "the stream ends after " + std::to_string(bytes_) + " bytes, with " + std::to_string(frames_) +
               " of " + std::to_string(device_.length_count_frames) + " frames loaded and no start-up";
    default:
        return reason_;
    }
}

PortReport LengthCountPort::report() const
{
    PortReport report;
    report.outcome = outcome();
    report.bytes = bytes_;
    report.bits_to_done = bits_to_done_;
    report.sync_bit = preamble_bit_;
    if (length_count_known_)
        report.length_count = length_count_;
    report.frames_written = frames_;
    report.frames_expected = device_.length_count_frames;
    report.crc_checks_passed = frames_;
    report.reason = reason();
    return report;
}

} // namespace fpga
