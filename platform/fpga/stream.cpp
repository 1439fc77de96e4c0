// SPDX-License-Identifier: Apache-2.0
// Builds example configuration streams: well-formed ones, and ones with a chosen defect.
#include "stream.h"

#include "bits.h"
#include "packets.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

namespace fpga
{
namespace
{

/// Yields the words of the frames, frame by frame.
class FrameSource
{
public:
    FrameSource(const Device& device, const StreamOptions& options)
        : frame_size_{device.frame_size}, fill_{options.fill}, random_{options.seed}
    {
    }

    std::uint32_t next()
    {
        const std::uint32_t frame = count_ / frame_size_;
        const bool first = count_ % frame_size_ == 0;
        ++count_;
        switch (fill_) {
        case Fill::zero:
            return 0;
        case Fill::random:
            return static_cast<std::uint32_t>(random_());
        default:
            return first ? frame : (frame & 0xFF) * 0x01010101U;
        }
    }

private:
    unsigned frame_size_;
    Fill fill_;
    std::mt19937_64 random_;
    std::uint32_t count_ = 0;
};

/// Builds a packet stream word by word and keeps its CRC.
class PacketStream
{
public:
    PacketStream(const Device& device, const StreamOptions& options)
        : device_{device},
          virtex2_{device.architecture() == Architecture::virtex2},
          defect_{options.defect},
          crc_{virtex2_ ? 5U : 4U},
          source_{device, options}
    {
        words_.reserve(device.stream_bits() / 32);
    }

    std::vector<std::uint32_t> build()
    {
        begin();
        if (virtex2_)
            virtex2_body();
        else
            virtex_body();
        apply_defect();
        return std::move(words_);
    }

private:
    void begin()
    {
        put(PAD_WORD);
        put(defect_ == Defect::no_sync ? ~SYNC_WORD : SYNC_WORD);
        write(REG_CMD, CMD_RCRC);
        crc_.clear();
        const bool other_length = defect_ == Defect::id && !virtex2_;
        write(REG_FLR, device_.frame_size - (other_length ? 0 : 1));
        write(REG_COR, virtex2_ ? 0x00043FE5 : 0x00803F2D);
        if (virtex2_)
            write(REG_IDCODE, stated_idcode());
        write(REG_MASK, 0);
        write(REG_CMD, CMD_SWITCH);
        write(REG_FAR, 0);
        write(REG_CMD, CMD_WCFG);
    }

    void virtex_body()
    {
        const unsigned block_ram = device_.block_ram_columns;
        const std::uint32_t block0_frames = device_.frames() - 64 * block_ram;
        begin_long_frame_data((block0_frames + 1) * device_.frame_size);
        frames(block0_frames);
        pad_frame();
        unsigned left = block_ram;
        for (const Column& column : frame_columns(device_)) {
            if (column.block == 0)
                continue;
            // The last column's pad frame follows the last-frame command.
            const bool with_pad = --left != 0;
            write(REG_FAR, frame_address(column.block, column.major, 0));
            begin_frame_data((column.frames + (with_pad ? 1 : 0)) * device_.frame_size);
            frames(column.frames);
            if (with_pad)
                pad_frame();
        }
        write_crc();
        write(REG_CMD, CMD_LFRM);
        begin_frame_data(device_.frame_size);
        pad_frame();
        write(REG_CMD, start_command());
        write(REG_CTL, 0);
        write_crc();
        words_.insert(words_.end(), 4, 0);
    }

    void virtex2_body()
    {
        begin_long_frame_data((device_.frames() + 1) * device_.frame_size);
        frames(device_.frames());
        pad_frame();
        automatic_crc();
        write(REG_CMD, CMD_GRESTORE);
        write(REG_CMD, CMD_LFRM);
        words_.insert(words_.end(), device_.frame_size, NOOP_WORD);
        if (device_.second_pass)
            second_pass();
        write(REG_CMD, start_command());
        write(REG_CTL, 0);
        write_crc();
        write(REG_CMD, CMD_DESYNCH);
        words_.insert(words_.end(), 4, NOOP_WORD);
    }

    // Writes the words of the first pass again.
    void second_pass()
    {
        const std::vector<std::uint32_t> first_pass{words_.begin() + frame_data_, words_.end()};
        write(REG_CMD, CMD_WCFG);
        std::size_t frame = 0;
        for (const Column& column : frame_columns(device_)) {
            const bool clb = column.block == 0 && column.major > 2 && column.major <= device_.clb_columns + 2;
            if (clb) {
                write(REG_FAR, frame_address(column.block, column.major, 1));
                begin_frame_data(3 * device_.frame_size);
                for (std::size_t word = 0; word < std::size_t{2} * device_.frame_size; ++word)
                    frame_word(first_pass[(frame + 1) * device_.frame_size + word]);
                pad_frame();
                automatic_crc();
            }
            frame += column.frames;
        }
        write(REG_CMD, CMD_GRESTORE);
    }

    void put(std::uint32_t word) { words_.push_back(word); }

    void write(Register address, std::uint32_t word)
    {
        put(type1_write(address, 1));
        put(word);
        crc_.feed(word, address);
    }

    void begin_frame_data(std::uint32_t count)
    {
        if (count > TYPE1_MAX_COUNT)
            return begin_long_frame_data(count);
        put(type1_write(REG_FDRI, count));
    }

    void begin_long_frame_data(std::uint32_t count)
    {
        put(type1_write(REG_FDRI, 0));
        put(type2_write(count));
        if (frame_data_ == 0)
            frame_data_ = static_cast<std::ptrdiff_t>(words_.size());
    }

    void frame_word(std::uint32_t word)
    {
        put(word);
        crc_.feed(word, REG_FDRI);
    }

    void frames(std::uint32_t count)
    {
        for (std::uint32_t word = 0; word < count * device_.frame_size; ++word)
            frame_word(source_.next());
    }

    void pad_frame()
    {
        for (std::uint32_t word = 0; word < device_.frame_size; ++word)
            frame_word(0);
    }

    void write_crc()
    {
        put(type1_write(REG_CRC, 1));
        automatic_crc();
        last_crc_ = words_.size() - 1;
    }

    void automatic_crc()
    {
        put(crc_.value());
        crc_.clear();
    }

    [[nodiscard]] std::uint32_t start_command() const
    {
        return defect_ == Defect::no_start ? CMD_NULL : CMD_START;
    }

    [[nodiscard]] std::uint32_t stated_idcode() const
    {
        if (defect_ != Defect::id)
            return device_.idcode;
        const auto other = std::ranges::find_if(devices(), [&](const Device& candidate) {
            return candidate.idcode != 0 && candidate.idcode != device_.idcode;
        });
        return other->idcode;
    }

    void apply_defect()
    {
        if (defect_ == Defect::crc)
            words_[last_crc_] ^= 1;
        if (defect_ == Defect::flipped_bit)
            words_[static_cast<std::size_t>(frame_data_) + device_.frames() * device_.frame_size / 2] ^=
                0x00010000;
        if (defect_ == Defect::short_data)
            words_.resize(words_.size() / 4 * 3);
    }

    const Device& device_;
    bool virtex2_;
    Defect defect_;
    PacketCrc crc_;
    FrameSource source_;
    std::vector<std::uint32_t> words_;
    std::ptrdiff_t frame_data_ = 0; ///< index of the first word of the first frame
    std::size_t last_crc_ = 0;
};

std::vector<std::uint8_t> packet_stream(const Device& device, const StreamOptions& options)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(device.stream_bits() / 8);
    for (const std::uint32_t word : PacketStream{device, options}.build()) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
    return bytes;
}

/// Builds a length-count stream bit by bit and keeps its check register.
class LengthCountStream
{
public:
    LengthCountStream(const Device& device, const StreamOptions& options) : device_{device}, options_{options}
    {
        if (options.defect == Defect::no_start)
            throw std::invalid_argument("streams of this family hold no start-up command");
    }

    std::vector<std::uint8_t> build()
    {
        constexpr std::uint32_t CLOCKS_NOT_COUNTED = 7;
        const std::uint32_t added = options_.defect == Defect::id ? 8 : 0;
        put(0xFF, 8);
        put(options_.defect == Defect::no_sync ? 0xF : 0x2, 4);
        put(device_.stream_bits() - CLOCKS_NOT_COUNTED + added, 24);
        put(0xF, 4);
        for (unsigned frame = 0; frame < device_.length_count_frames; ++frame)
            put_frame(frame);
        put(0x7F, 8);
        while (count_ < device_.stream_bits())
            put(1, 1);
        apply_defect();
        return std::move(bytes_);
    }

private:
    static constexpr unsigned CHECK_BITS = 4;
    static constexpr unsigned LAST_CHECK_BITS = 11;

    void put(std::uint32_t bits, unsigned width)
    {
        while (width-- > 0) {
            if (count_ % 8 == 0)
                bytes_.push_back(0);
            bytes_.back() =
                static_cast<std::uint8_t>(bytes_.back() | (bits >> width & 1U) << (7 - count_ % 8));
            ++count_;
        }
    }

    void put_frame(unsigned frame)
    {
        const unsigned check_bits = frame + 1 == device_.length_count_frames ? LAST_CHECK_BITS : CHECK_BITS;
        const unsigned data_bits = device_.frame_size - 1 - check_bits;
        put(0, 1);
        check_.feed(frame == 0 ? 1 : 0);
        unsigned first = 0;
        for (unsigned position = 0; position < data_bits; ++position) {
            // The second data bit of the first frame is 0: frames are checked by CRC. The check register sees
            // the first data bit in its place.
            const bool mode_bit = frame == 0 && position == 1;
            const unsigned bit = mode_bit ? 0 : data_bit(frame, position);
            if (position == 0)
                first = bit;
            put(bit, 1);
            check_.feed(mode_bit ? first : bit);
        }
        const unsigned check = check_bits_for(check_bits);
        put(check, check_bits);
        feed(check_, check, check_bits);
    }

    unsigned data_bit(unsigned frame, unsigned position)
    {
        constexpr unsigned NUMBER_BITS = 16;
        switch (options_.fill) {
        case Fill::zero:
            return 0;
        case Fill::random:
            return static_cast<unsigned>(random_() >> 63);
        default:
            return position < NUMBER_BITS ? frame >> (NUMBER_BITS - 1 - position) & 1U : frame & 1U;
        }
    }

    static void feed(FrameCheck& check, unsigned bits, unsigned width)
    {
        while (width-- > 0)
            check.feed(bits >> width & 1U);
    }

    // The register is linear in its bits, so exactly one value leaves its low bits clear.
    [[nodiscard]] unsigned check_bits_for(unsigned width) const
    {
        for (unsigned value = 0; value < 1U << width; ++value) {
            FrameCheck trial = check_;
            feed(trial, value, width);
            if (trial.low(width) == 0)
                return value;
        }
        throw std::logic_error("no check bits fit");
    }

    void apply_defect()
    {
        const std::size_t frames_end = 40 + std::size_t{device_.frame_size} * device_.length_count_frames;
        if (options_.defect == Defect::crc)
            flip(frames_end - 1);
        if (options_.defect == Defect::flipped_bit)
            flip(frames_end / 2);
        if (options_.defect == Defect::short_data)
            bytes_.resize(bytes_.size() / 16 * 12);
    }

    void flip(std::size_t bit)
    {
        bytes_[bit / 8] = static_cast<std::uint8_t>(bytes_[bit / 8] ^ 0x80U >> bit % 8);
    }

    const Device& device_;
    StreamOptions options_;
    std::mt19937_64 random_{options_.seed};
    FrameCheck check_;
    std::vector<std::uint8_t> bytes_;
    std::size_t count_ = 0;
};

} // namespace

std::vector<std::uint8_t> make_stream(const Device& device, const StreamOptions& options)
{
    if (device.architecture() == Architecture::length_count)
        return LengthCountStream{device, options}.build();
    return packet_stream(device, options);
}

std::vector<std::uint8_t> reverse_each(std::span<const std::uint8_t> bytes)
{
    std::vector<std::uint8_t> reversed(bytes.size());
    std::ranges::transform(bytes, reversed.begin(), [](std::uint8_t byte) { return REVERSED[byte]; });
    return reversed;
}

std::vector<std::uint8_t> run_code(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint8_t LONGEST_RUN = 255;
    std::vector<std::uint8_t> pairs;
    for (const std::uint8_t byte : bytes) {
        const bool extends = !pairs.empty() && pairs.back() == byte && pairs[pairs.size() - 2] < LONGEST_RUN;
        if (extends) {
            ++pairs[pairs.size() - 2];
        } else {
            pairs.push_back(1);
            pairs.push_back(byte);
        }
    }
    return pairs;
}

} // namespace fpga
