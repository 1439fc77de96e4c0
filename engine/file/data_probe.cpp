// SPDX-License-Identifier: Apache-2.0
// Finds out what configuration data are of when nothing else tells.
#include "file/data_probe.h"

#include "bits.h"

#include <array>

namespace kvn
{

void DataProbe::take(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        const std::array<std::uint8_t, 1> turned{fpga::REVERSED[byte]};
        as_given_.take({&byte, 1});
        turned_.take(turned);
        if (head_bytes_ < sizeof head_) {
            ++head_bytes_;
            head_ = head_ << 8 | turned[0];
        }
    }
}

bool DataProbe::fit(const fpga::Device& device, std::uint64_t bits) const
{
    if (device.architecture() == fpga::Architecture::length_count) {
        // Eight ones, 0010, and the length count, which is seven less than the bits.
        constexpr std::uint64_t PREAMBLE = 0xFF2;
        return head_ >> 52 == PREAMBLE && bits == device.stream_bits() &&
               (head_ >> 28 & 0xFFFFFF) + 7 == device.stream_bits();
    }
    const PacketSummary& packets = is_reversed() ? turned_ : as_given_;
    if (device.architecture() == fpga::Architecture::virtex2)
        return packets.idcode() && fpga::find_idcode(*packets.idcode()) == &device;
    return !packets.idcode() && packets.frame_size() == device.frame_size && bits == device.stream_bits();
}

std::vector<const fpga::Device*> DataProbe::candidates(std::uint64_t bits) const
{
    std::vector<const fpga::Device*> found;
    for (const fpga::Device& device : fpga::devices())
        if (fit(device, bits))
            found.push_back(&device);
    return found;
}

} // namespace kvn
