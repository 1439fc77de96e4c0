// SPDX-License-Identifier: Apache-2.0
// Builds example configuration streams: well-formed ones, and ones with a chosen defect.
#ifndef KVN_FPGA_STREAM_H
#define KVN_FPGA_STREAM_H

#include "devices.h"

#include <cstdint>
#include <span>
#include <vector>

namespace fpga
{

/// The content of the frames.
enum class Fill {
    zero,
    pattern, ///< each frame begins with its number, the rest repeats the number's low byte
    random
};

/// A defect of the stream.
enum class Defect {
    none,
    no_sync,     ///< the synchronisation word (Spartan: the preamble) is damaged
    crc,         ///< the last CRC word (Spartan: the check bits of the last frame) is wrong
    id,          ///< made for another device: ID, frame length or length count
    short_data,  ///< the last quarter is missing
    flipped_bit, ///< one bit in the middle of the frame data is inverted
    no_start     ///< the start-up command is missing (packet families)
};

struct StreamOptions {
    Fill fill = Fill::pattern;
    std::uint64_t seed = 1; ///< of the random fill
    Defect defect = Defect::none;
};

/// A full configuration of the device, of the size of its standard streams (except for short_data), in file
/// order: the first configuration bit of each byte is bit 7, as in a BIT file. Throws std::invalid_argument
/// for a defect that the family cannot have.
[[nodiscard]] std::vector<std::uint8_t> make_stream(const Device& device, const StreamOptions& options = {});

/// The same bytes in bus order: the first configuration bit is bit 0. Its own inverse.
[[nodiscard]] std::vector<std::uint8_t> reverse_each(std::span<const std::uint8_t> bytes);

/// The bytes as pairs of a count (1 to 255) and a value, as in compressed loads.
[[nodiscard]] std::vector<std::uint8_t> run_code(std::span<const std::uint8_t> bytes);

} // namespace fpga

#endif
