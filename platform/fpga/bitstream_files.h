// SPDX-License-Identifier: Apache-2.0
// Writes bitstream files: RBT (text) and BIT (binary), well-formed or with a chosen defect.
#ifndef KVN_FPGA_BITSTREAM_FILES_H
#define KVN_FPGA_BITSTREAM_FILES_H

#include "devices.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace fpga
{

/// The texts of a file's header.
struct FileLabels {
    std::string part;         ///< "2v3000fg676"
    std::string architecture; ///< "virtex2"; only in RBT files
    std::string design = "example.ncd";
    std::string tool = "Created by kvn_bitgen"; ///< the whole line; only in RBT files
    std::string rbt_date = "Fri Feb 17 12:00:00 2006";
    std::string bit_date = "2006/02/17";
    std::string bit_time = "12:00:00";
};

/// A defect of the file around its data.
enum class FileDefect {
    none,
    title,            ///< RBT: a wrong first line; BIT: wrong magic bytes
    carriage_returns, ///< RBT: lines end in CR LF
    short_line,       ///< RBT: one data line lacks its last character
    missing_key,      ///< BIT: the key 'c' is another letter
    stated_size,      ///< the header states 32 bits too many
    trailing_bytes    ///< BIT: four bytes follow the stated data
};

/// A family as RBT files name it: "virtex2p".
[[nodiscard]] std::string architecture_name(Family family);

/// The seven header lines of an RBT file, in the form of the maker's tools. No text may hold a line feed.
[[nodiscard]] std::string rbt_header(const FileLabels& labels, std::uint64_t stated_bits);

/// The header of a BIT file, up to its data: the keys a to e. A text is cut at 65534 bytes.
[[nodiscard]] std::string bit_header(const FileLabels& labels, std::uint32_t stated_bytes);

/// Writes an RBT file of 32 characters a line; the data (in file order) must be a multiple of 4 bytes long.
/// With frame_bits, lines as tools write them for the length-count families: 40 characters, a line for each
/// frame of that many, and the rest. Throws std::invalid_argument for data or defects that do not fit, and
/// std::runtime_error when the file cannot be written.
void write_rbt(const std::string& path, std::span<const std::uint8_t> data, const FileLabels& labels,
               FileDefect defect = FileDefect::none, unsigned frame_bits = 0);

/// Writes a BIT file.
void write_bit(const std::string& path, std::span<const std::uint8_t> data, const FileLabels& labels,
               FileDefect defect = FileDefect::none);

} // namespace fpga

#endif
