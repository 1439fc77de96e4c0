// SPDX-License-Identifier: Apache-2.0
// The data lines of an RBT file, however long they are.
#include "file/rbt_lines.h"

#include "formats/rbt_format.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

/// Gathers bits to bytes, and bytes to blocks.
class BitGatherer
{
public:
    explicit BitGatherer(const std::function<void(std::span<const std::uint8_t>)>& take) : take_{take} {}

    void add(unsigned bit)
    {
        if (bits_ % 8 == 0)
            bytes_[bits_ / 8] = 0;
        bytes_[bits_ / 8] = static_cast<std::uint8_t>(bytes_[bits_ / 8] | bit << bits_ % 8);
        ++bits_;
        if (bits_ == bytes_.size() * 8)
            flush();
    }

    void flush()
    {
        if (bits_ != 0)
            take_(std::span{bytes_}.first((bits_ + 7) / 8));
        bits_ = 0;
    }

private:
    const std::function<void(std::span<const std::uint8_t>)>& take_;
    std::array<std::uint8_t, 4096> bytes_{};
    std::size_t bits_ = 0;
};

class LineReader
{
public:
    LineReader(std::size_t number, const std::function<void(std::span<const std::uint8_t>)>& take)
        : bits_{take}, number_{number}
    {
    }

    RbtLines read(std::FILE* file)
    {
        for (int c = std::getc(file); c != EOF; c = std::getc(file)) {
            if (c == '\n')
                end_line(true);
            else
                add(static_cast<char>(c));
        }
        if (length_ != 0)
            end_line(false);
        bits_.flush();
        return lines_;
    }

private:
    void add(char c)
    {
        ++length_;
        ends_in_carriage_return_ = c == '\r';
        if (c == '\r')
            return;
        if (c != '0' && c != '1' && lines_.odd_line == 0) {
            lines_.odd_line = number_;
            lines_.odd_column = length_;
        }
        bits_.add(c == '1' ? 1 : 0);
        ++lines_.bits;
    }

    void end_line(bool with_line_feed)
    {
        if (lines_.wrong == 0 && (length_ != WORD_CHARS || !with_line_feed)) {
            lines_.wrong = number_;
            lines_.wrong_length = length_;
            lines_.wrong_has_carriage_return = ends_in_carriage_return_;
        }
        const std::size_t characters = length_ - (ends_in_carriage_return_ ? 1 : 0);
        if (characters == 0) {
            ++lines_.empty_at_end;
        } else {
            lines_.shortest = lines_.count == 0 ? characters : std::min(lines_.shortest, characters);
            lines_.longest = std::max(lines_.longest, characters);
            lines_.count += 1 + lines_.empty_at_end;
            lines_.empty_at_end = 0;
            lines_.of_32 += characters == WORD_CHARS ? 1U : 0U;
        }
        lines_.ends_with_line_feed = with_line_feed;
        ++number_;
        length_ = 0;
        ends_in_carriage_return_ = false;
    }

    BitGatherer bits_;
    RbtLines lines_;
    std::size_t number_;
    std::size_t length_ = 0;
    bool ends_in_carriage_return_ = false;
};

} // namespace

RbtLines read_rbt_lines(std::FILE* file, long begin, std::size_t number,
                        const std::function<void(std::span<const std::uint8_t>)>& take)
{
    if (std::fseek(file, begin, SEEK_SET) != 0)
        return {};
    return LineReader{number, take}.read(file);
}

} // namespace kvn
