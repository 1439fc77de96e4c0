// The RBT text format: its header, its data lines, and writing a line.
//
// Header:  1     "Xilinx ASCII Bitstream"
//          2-4   anything
//          5     the part line; the device stands behind its first blanks
//          6     a date line, which may be missing
//          6, 7  the line with "bits:" and the number of configuration bits
// Data:    32 characters and a line feed for each four bytes; '1' is a one, any other character a zero
#ifndef KVN_FPGA_FORMATS_RBT_FORMAT_H
#define KVN_FPGA_FORMATS_RBT_FORMAT_H

#include "formats/block_file.h"
#include "formats/byte_kernels.h"
#include "support/message.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// A header line as it is read: at most 254 characters, its line feed among them, and a terminating zero. A
/// longer line is read in pieces, each of which counts as a line.
struct RbtLine {
    char text[255] = {};

    /// @return false when no line can be read
    bool read(FILE* stream) { return std::fgets(text, sizeof text, stream) != nullptr; }

    /// Whether the line is the title, to the letter and with nothing behind its line feed.
    [[nodiscard]] bool is_title() const;

    /// Copies the device that a part line names. Choice: a line without a blank names none, and one without a
    /// line feed ends at its end (docs/decisions/0008-device-names.md).
    void copy_device(char (&device)[255]) const;

    /// Finds "bits:" and the number behind it.
    /// @return false when the line has no "bits:"
    [[nodiscard]] bool find_bit_count(std::int32_t& bits) const;
};

/// Reads lines 2 to 5, the part line into line.
bool read_part_line(FILE* stream, RbtLine& line);

/// Reads the data lines of a file from where its header ends, by this rule: a line is cut as fgets cuts it
/// into a buffer of 40 bytes, measured as strlen measures it, and must be 33 long. So 33 characters at the
/// end of the file are a line even without a line feed, and a zero byte ends one.
///
/// read_line is the rule. For plain lines, 32 times '0' or '1' and a line feed, read_plain_lines comes to the
/// same, some lines at once.
class RbtDataReader
{
public:
    explicit RbtDataReader(FILE* stream) : input_{stream} {}

    /// Turns the next lines into words and hands them on a few at a time: the processor packs the next ones
    /// while these are on their way.
    /// @param limit the number of lines to read
    /// @param take takes the bytes of some words; false stops the reading
    /// @return how many were read; fewer at the end of the file and in front of a line of a wrong length
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

    /// Whether a line of a wrong length stopped the reading, and that length.
    [[nodiscard]] bool found_wrong_line() const { return wrong_line_; }
    [[nodiscard]] int wrong_length() const { return wrong_length_; }

private:
    /// Reads any line.
    /// @return false at the end of the file and at a line of a wrong length
    bool read_line(std::uint8_t* word);

    // More gain little, and are sent too late to overlap with the next ones.
    static constexpr std::size_t LINES_AT_ONCE = 16;

    /// Reads the next line; LINES_AT_ONCE of them where a pair begins and all are plain.
    /// @return 0 when there are none
    std::size_t read_next(std::uint8_t* bytes, std::size_t limit)
    {
        if (!inside_pair_ && limit >= LINES_AT_ONCE && read_plain_lines<LINES_AT_ONCE>(bytes))
            return LINES_AT_ONCE;
        inside_pair_ = !inside_pair_;
        return read_plain_lines<1>(bytes) || read_line(bytes) ? 1 : 0;
    }

    /// Reads lines when they all are plain.
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
    bool inside_pair_ = false; // two lines make a piece of what is sent: groups start where a piece does
    bool wrong_line_ = false;
    int wrong_length_ = 0;
};

/// The message for a character of a data line that cannot be written.
constexpr Message<const char*> rbt_write_failure(char character)
{
    if (character == '1')
        return "Error 9295. Failed to write to RBT file %s.";
    if (character == '0')
        return "Error 9296. Failed to write to RBT file %s.";
    return "Error 9297. Failed to write to RBT file %s.";
}

#endif
