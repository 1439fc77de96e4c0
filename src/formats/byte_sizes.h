// SPDX-License-Identifier: Apache-2.0
// How many bytes each byte kernel takes.
#ifndef KVN_FPGA_FORMATS_BYTE_SIZES_H
#define KVN_FPGA_FORMATS_BYTE_SIZES_H

#include <cstddef>
#include <cstdint>

/// The bytes of one RBT line, and its characters without and with the line feed.
inline constexpr std::size_t WORD_SIZE = 4;
inline constexpr std::size_t WORD_CHARS = 32;
inline constexpr std::size_t LINE_CHARS = 33;

/// The bytes that reverse_block reverses.
inline constexpr std::size_t REVERSED_SIZE = 16;

/// The bytes that changes looks at.
inline constexpr std::size_t CHANGES_SIZE = 64;

/// The runs of one that are written, or taken, at once.
inline constexpr std::size_t SINGLES = 16;

/// The bytes of the pairs whose counts sum_counts adds up.
inline constexpr std::size_t COUNTS_SIZE = 16;

#endif
