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

#include "formats/bit_order.h"
#include "formats/block_file.h"
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

/// Reads the data lines of a file from where its header ends.
class RbtDataReader
{
public:
    explicit RbtDataReader(FILE* stream) : input_{stream} {}

    /// Turns the next lines into words.
    /// @param bytes receives four bytes for each line
    /// @param limit the number of lines to read
    /// @return how many were read; fewer at the end of the file and in front of a line of a wrong length
    std::size_t read(std::uint8_t* bytes, std::size_t limit);

    /// Whether a line of a wrong length stopped the reading, and that length.
    [[nodiscard]] bool found_wrong_line() const { return wrong_line_; }
    [[nodiscard]] int wrong_length() const { return wrong_length_; }

private:
    bool read_line(std::uint8_t* word);
    std::size_t read_plain_lines(std::uint8_t* bytes, std::size_t limit);

    BlockReader input_;
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
