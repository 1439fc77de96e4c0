// SPDX-License-Identifier: Apache-2.0
// Configuration data as the formats hold them.
#ifndef KVN_ENGINE_FILE_BITSTREAM_CONTENT_H
#define KVN_ENGINE_FILE_BITSTREAM_CONTENT_H

#include "file/inspection.h"

#include <cstdint>
#include <span>
#include <string>

namespace kvn
{

/// Appends data to a header of the format.
/// @param data in transmission order; for Format::rbt a multiple of 4 bytes
/// @param format not Format::unknown
void append_data(std::string& content, Format format, std::span<const std::uint8_t> data);

} // namespace kvn

#endif
