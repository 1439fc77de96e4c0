// SPDX-License-Identifier: Apache-2.0
// Small bitstream files, good unless a test spoils them.
#ifndef KVN_FPGA_TESTS_SUPPORT_BITSTREAMS_H
#define KVN_FPGA_TESTS_SUPPORT_BITSTREAMS_H

#include "support/bytes.h"
#include "support/files.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// Configuration bytes in transmission order: a pattern with runs and without, the same for the same size.
Bytes sample_data(std::size_t size);

/// A line of an RBT file for 4 bytes, with its line feed.
std::string rbt_line(const std::uint8_t* four_bytes);

/// Bytes with the order of the bits in each reversed.
Bytes reversed_bits(Bytes data);

/// Pairs of a count and a value, as a compressed load and an MCB file hold them.
Bytes run_coded(const Bytes& data);

/// An RBT file, line by line. Each line holds its line feed.
struct RbtFile {
    explicit RbtFile(std::size_t words = 8);
    /// A file of these configuration bytes, a multiple of four.
    explicit RbtFile(const Bytes& data);

    std::vector<std::string> header; ///< title, three lines of text, part, date, bit count
    std::vector<std::string> data;
    std::string tail; ///< what follows the data lines

    static constexpr std::size_t TITLE = 0;
    static constexpr std::size_t PART = 4;
    static constexpr std::size_t DATE = 5;
    static constexpr std::size_t BITS = 6;

    RbtFile& device(std::string_view name);
    RbtFile& without_date();
    /// Leaves only the first lines of the header, and no data.
    RbtFile& cut_after(std::size_t header_lines);
    /// States a number of bits (the right one otherwise) in the last line of the header.
    RbtFile& stated_bits(long bits);

    [[nodiscard]] std::string text() const;
    void write(const std::string& name = "design.rbt") const { write_whole_file(name, text()); }
};

/// A BIT file, field by field. A length or count that is not given is that of its text or data.
struct BitFile {
    explicit BitFile(std::size_t size = 32);
    /// A file of these configuration bytes, given in transmission order.
    explicit BitFile(const Bytes& transmission_bytes);

    std::uint16_t magic_length = 9;
    Bytes magic = bytes("0F F0 0F F0 0F F0 0F F0 00");
    std::uint16_t key_length = 1;
    char a_key = 'a';
    std::optional<std::uint16_t> design_length;
    std::string design{"design.ncd\0", 11};
    char b_key = 'b';
    std::optional<std::uint16_t> device_length;
    std::string device{"2v3000fg676\0", 12};
    char c_key = 'c';
    std::optional<std::uint16_t> date_length;
    std::string date{"2006/02/17\0", 11};
    char d_key = 'd';
    std::optional<std::uint16_t> time_length;
    std::string time{"12:34:56\0", 9};
    char e_key = 'e';
    std::optional<std::uint32_t> byte_count;
    Bytes data; ///< as in the file: the first bit of a byte is its bit 7
    std::string tail;

    [[nodiscard]] std::string header() const;
    [[nodiscard]] std::string content() const;
    void write(const std::string& name = "design.bit") const { write_whole_file(name, content()); }
};

/// An MCB file, field by field.
struct McbFile {
    explicit McbFile(std::size_t size = 32);
    explicit McbFile(const Bytes& transmission_bytes);

    std::uint32_t first_magic = 0x00441278;
    std::uint32_t second_magic = 0x00760188;
    std::string device = "2v3000fg676"; ///< padded with zeros to 255 bytes
    std::string timestamp = "Date:   Fri Feb 17 12:34:56 2006\n";
    std::int32_t byte_count = 0;
    Bytes runs;
    std::string tail;

    static constexpr std::size_t HEADER_SIZE = 522;

    [[nodiscard]] std::string header() const;
    [[nodiscard]] std::string content() const;
    void write(const std::string& name = "design.mcb") const { write_whole_file(name, content()); }
};

/// A file that is damaged in one place, and the text of the error.
template <class File>
struct FileFault {
    const char* name;
    void (*damage)(File& file);
    std::string text;

    friend void PrintTo(const FileFault& fault, std::ostream* out) { *out << fault.text; }
};

#endif
