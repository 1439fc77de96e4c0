// SPDX-License-Identifier: Apache-2.0
// Finds out what configuration data are of when nothing else tells.
#ifndef KVN_ENGINE_FILE_DATA_PROBE_H
#define KVN_ENGINE_FILE_DATA_PROBE_H

#include "devices.h"
#include "file/packet_summary.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kvn
{

class DataProbe
{
public:
    /// Takes bytes in transmission order, which they may not be in.
    void take(std::span<const std::uint8_t> bytes);

    /// Whether the bits of each byte stand the other way round.
    [[nodiscard]] bool is_reversed() const { return !as_given_.sync_bit() && turned_.sync_bit(); }

    /// The devices that data of so many bits in all are for, by the device ID, the frame length or the length
    /// count that they hold; none when nothing fits. They belong to the device table.
    [[nodiscard]] std::vector<const fpga::Device*> candidates(std::uint64_t bits) const;

private:
    [[nodiscard]] bool fit(const fpga::Device& device, std::uint64_t bits) const;

    PacketSummary as_given_;
    PacketSummary turned_;
    std::uint64_t head_ = 0; ///< the first bits, the first one on top
    unsigned head_bytes_ = 0;
};

} // namespace kvn

#endif
