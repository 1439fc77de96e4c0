// SPDX-License-Identifier: Apache-2.0
// The layout of an MCB file: a header of 522 bytes, then runs. Integers are little-endian.
#ifndef KVN_FPGA_FORMATS_MCB_FORMAT_H
#define KVN_FPGA_FORMATS_MCB_FORMAT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

inline constexpr std::uint32_t MCB_MAGIC_1 = 0x00441278;
inline constexpr std::uint32_t MCB_MAGIC_2 = 0x00760188;
inline constexpr std::size_t MCB_NUMBER_SIZE = 4;

/// A text of the header as stored: terminated and padded with zero bytes.
using McbText = std::array<char, 255>;

/// A number of the header as stored.
using McbNumber = std::array<std::uint8_t, MCB_NUMBER_SIZE>;

/// Cuts a text that is too long, so that a zero byte ends it.
McbText to_mcb_text(std::string_view text);

McbNumber to_mcb_number(std::uint32_t number);

enum class McbMagic { right, wrong, unreadable };
McbMagic read_mcb_magic(FILE* stream);

/// @param text receives the field with a zero byte behind it
/// @return false when the stream cannot be read, or ends
bool read_mcb_text(FILE* stream, char (&text)[256]);
bool read_mcb_number(FILE* stream, std::int32_t& number);

#endif
