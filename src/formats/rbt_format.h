// SPDX-License-Identifier: Apache-2.0
// The RBT text format: its header, its data lines, and writing a line.
//
// Header:  1     "Xilinx ASCII Bitstream"
//          2-4   anything
//          5     the part line; the device follows its first blanks
//          6     a date line, which may be missing
//          6, 7  "bits:" and the number of configuration bits
// Data:    a line of 32 characters and a line feed for every four bytes; '1' is a one, anything else a zero
#ifndef KVN_FPGA_FORMATS_RBT_FORMAT_H
#define KVN_FPGA_FORMATS_RBT_FORMAT_H

#include "formats/block_file.h"
#include "formats/byte_kernels.h"
#include "support/message.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// A header line: at most 254 characters including the line feed. A longer line is read as several.
struct RbtLine {
    char text[255] = {};

    /// @return false when no line can be read
    bool read(FILE* stream) { return std::fgets(text, sizeof text, stream) != nullptr; }

    /// Whether the line is exactly the title.
    [[nodiscard]] bool is_title() const;

    /// Copies the device that a part line names. Choice: a line without a blank names none, and a line feed
    /// may be missing (docs/decisions/0008-device-names.md).
    void copy_device(char (&device)[255]) const;

    /// Finds "bits:" and reads the number that follows.
    /// @return false when the line has no "bits:"
    [[nodiscard]] bool find_bit_count(std::int32_t& bits) const;
};

/// Reads lines 2 to 5, the part line into line.
bool read_part_line(FILE* stream, RbtLine& line);

/// Reads the data lines, which follow the header, by this rule: fgets reads a line into a buffer of 40 bytes,
/// and its strlen must be 33. So the last line needs no line feed if it has 33 characters, and a zero byte
/// ends a line.
///
/// read_line states the rule. read_plain_lines gives the same result for several lines of 32 digits '0' or
/// '1' and a line feed.
class RbtDataReader
{
public:
    explicit RbtDataReader(FILE* stream) : input_{stream} {}

    /// Turns the next lines into words and passes them on a few at a time, so that the processor packs the
    /// next ones while these are being sent.
    /// @param limit the number of lines to read
    /// @param take takes the bytes of some words; returns false to stop
    /// @return the number of lines read; fewer at end of file or at a line of the wrong length
    template <class Take>
    std::size_t read(std::size_t limit, Take take)
    {
        std::uint8_t bytes[LINES_AT_ONCE * WORD_SIZE];
        std::size_t words = 0;
        while (words < limit) {
            const std::size_t next = read_next(bytes, limit - words);
            words += next;
            // Each size has its own call, so that the compiler can tell them apart.
            if (next == LINES_AT_ONCE ? !take(std::span{bytes})
                                      : next == 0 || !take(std::span{bytes}.first<WORD_SIZE>()))
                break;
        }
        return words;
    }

    /// Turns the next lines into words.
    /// @param bytes receives four bytes for each line
    std::size_t read(std::uint8_t* bytes, std::size_t limit)
    {
        std::size_t words = 0;
        while (words < limit) {
            const std::size_t next = read_next(bytes + words * WORD_SIZE, limit - words);
            words += next;
            if (next == 0)
                break;
        }
        return words;
    }

    /// Whether a line of the wrong length stopped the reading, and its length.
    [[nodiscard]] bool found_wrong_line() const { return wrong_line_; }
    [[nodiscard]] int wrong_length() const { return wrong_length_; }

private:
    /// Reads any line, by the rule.
    /// @return false at end of file or at a line of the wrong length
    bool read_line(std::uint8_t* word);

    // More lines gain little: they are sent too late to overlap with packing the next ones.
    static constexpr std::size_t LINES_AT_ONCE = 16;

    /// Reads LINES_AT_ONCE lines if a piece begins here and all are plain, else one.
    /// @return 0 when there are none
    std::size_t read_next(std::uint8_t* bytes, std::size_t limit)
    {
        if (!inside_pair_ && limit >= LINES_AT_ONCE && read_plain_lines<LINES_AT_ONCE>(bytes))
            return LINES_AT_ONCE;
        inside_pair_ = !inside_pair_;
        return read_plain_lines<1>(bytes) || read_line(bytes) ? 1 : 0;
    }

    /// Reads the next lines if all of them are plain.
    template <std::size_t Lines>
    bool read_plain_lines(std::uint8_t* bytes)
    {
        const auto at_hand = input_.peek(Lines * LINE_CHARS);
        if (at_hand.size() < Lines * LINE_CHARS || !fastest::read_plain_lines<Lines>(bytes, as_text(at_hand)))
            return false;
        input_.skip(Lines * LINE_CHARS);
        return true;
    }

    static const char* as_text(std::span<const std::uint8_t> bytes)
    {
        return reinterpret_cast<const char*>(bytes.data()); // NOLINT: the text of the file
    }

    BlockReader input_;
    bool inside_pair_ = false; // two lines make a piece that is sent; groups start where a piece does
    bool wrong_line_ = false;
    int wrong_length_ = 0;
};

/// The message when this character of a data line cannot be written.
constexpr Message<const char*> rbt_write_failure(char character)
{
    if (character == '1')
        return "Error 9295. Failed to write to RBT file %s.";
    if (character == '0')
        return "Error 9296. Failed to write to RBT file %s.";
    return "Error 9297. Failed to write to RBT file %s.";
}

#endif
