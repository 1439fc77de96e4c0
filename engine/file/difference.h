// SPDX-License-Identifier: Apache-2.0
// Compares two files as configuration, whatever their forms.
#ifndef KVN_ENGINE_FILE_DIFFERENCE_H
#define KVN_ENGINE_FILE_DIFFERENCE_H

#include "file/inspection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// A text of the headers that differs. A form that has no place for it differs from none.
struct HeaderDifference {
    std::string name; ///< "part", "design", "architecture", "tool", "date" or "time"
    std::string first;
    std::string second;
};

/// A frame of a packet family, by its address.
struct FrameDifference {
    unsigned block = 0;
    unsigned major = 0;
    unsigned minor = 0;
    std::uint64_t bits = 0; ///< that differ; all bits of the frame, if only one of the files writes it
    bool in_first = true;   ///< the first file writes the frame
    bool in_second = true;
};

/// A register other than that of the frames and the CRC, to which the files write other words.
struct RegisterDifference {
    std::string name; ///< "COR"
    std::vector<std::uint32_t> first;
    std::vector<std::uint32_t> second; ///< at most 16 words of each file, in order
};

struct Difference {
    bool same_configuration = false;       ///< the digests are equal
    std::vector<HeaderDifference> headers; ///< of texts that both files have
    std::uint64_t first_bits = 0;          ///< of configuration in the first file
    std::uint64_t second_bits = 0;

    const fpga::Device* device = nullptr; ///< whose frames were compared; null: compared by offset
    std::uint64_t frames_compared = 0;    ///< that one of the files writes, or both
    std::vector<FrameDifference> frames;  ///< in the order of their addresses
    std::vector<RegisterDifference> registers;

    /// Bits that differ: in the frames if these were compared, else between the data up to the shorter one's
    /// end.
    std::uint64_t bits = 0;
    /// The first configuration bit that differs, counted from 0, if any does: by offset.
    std::optional<std::uint64_t> first_bit;

    std::string words; ///< the result in one line: "same configuration; header date differs"
};

/// The most configuration data that are compared, in bytes of each file; those of the largest device have 4.3
/// million.
inline constexpr std::uint64_t MOST_COMPARED = std::uint64_t{64} << 20;

/// Compares by frame address where both files are for the same device of a packet family and their packets
/// can be followed, else by offset. Throws FailureError of ExitStatus::damaged for files that have no digest
/// (see digest_of), or more data than MOST_COMPARED; and std::bad_alloc.
[[nodiscard]] Difference compare(const Input& first, const Input& second);

} // namespace kvn

#endif
