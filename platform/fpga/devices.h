// SPDX-License-Identifier: Apache-2.0
// The FPGA devices that modules carry: geometry, identity and stream size of each, in one table.
#ifndef KVN_FPGA_DEVICES_H
#define KVN_FPGA_DEVICES_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace fpga
{

enum class Family { spartan, spartan_xl, spartan2, spartan2e, virtex, virtex_e, virtex2, virtex2_pro };

/// The configuration logic of a family.
enum class Architecture {
    length_count, ///< Spartan, Spartan-XL: a length count, then a bit-serial stream of frames
    virtex,       ///< Spartan-2, Spartan-2E, Virtex, Virtex-E: packets, 4 address bits in the CRC
    virtex2       ///< Virtex-2, Virtex-2 Pro: packets, device ID, automatic CRC
};

/// The properties of a device. Frame and stream sizes follow from them; see the functions below.
struct Device {
    std::string_view name; ///< as modules and bitstreams name it, without "xc": "2v3000"
    Family family;
    unsigned frame_size;          ///< words a frame (packet families) or bits a frame (length count)
    unsigned clb_columns;         ///< 0 for length-count families
    unsigned block_ram_columns;   ///< 0 for length-count families
    std::uint32_t idcode;         ///< compared by Virtex-2 class devices; 0 if streams have none
    bool second_pass;             ///< the standard stream writes part of the frames twice
    unsigned length_count_frames; ///< frames of a length-count device, otherwise 0

    [[nodiscard]] Architecture architecture() const;
    /// False for families that no module carries; they are in the table for diagnoses.
    [[nodiscard]] bool carried_by_modules() const { return family != Family::spartan2e; }
    /// Number of distinct frames that a full configuration writes.
    [[nodiscard]] unsigned frames() const;
    /// Size of the standard full stream.
    [[nodiscard]] std::uint32_t stream_bits() const;
};

/// A stretch of frames that share the block and major (column) part of their addresses.
struct Column {
    unsigned block;
    unsigned major;
    unsigned frames;
};

[[nodiscard]] std::span<const Device> devices();
[[nodiscard]] std::string_view family_name(Family family);

/// The device at the start of a name such as "2v3000fg676-4", "v1000efg680" or "XC2S50", or null.
[[nodiscard]] const Device* find_device(std::string_view name);

/// The device with this ID, without the version in the top four bits, or null. Devices that modules carry
/// come first.
[[nodiscard]] const Device* find_idcode(std::uint32_t idcode);

/// The frame columns of a packet-family device in the order of its frame addresses.
[[nodiscard]] std::vector<Column> frame_columns(const Device& device);

/// The FAR register's word for a frame.
[[nodiscard]] constexpr std::uint32_t frame_address(unsigned block, unsigned major, unsigned minor)
{
    return block << 25 | major << 17 | minor << 9;
}

} // namespace fpga

#endif
