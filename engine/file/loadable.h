// SPDX-License-Identifier: Apache-2.0
// Adds what a configuration lacks to be loaded: words behind it that do nothing.
#ifndef KVN_ENGINE_FILE_LOADABLE_H
#define KVN_ENGINE_FILE_LOADABLE_H

#include "file/conversion.h"

#include <cstdint>
#include <vector>

namespace kvn
{

/// Configuration data in transmission order.
struct Configuration {
    std::vector<std::uint8_t> bytes;
    std::uint64_t bits = 0; ///< the last byte may not be whole

    friend bool operator==(const Configuration&, const Configuration&) = default;
};

/// Fills the data up to whole words, and lengthens them where loads hold back a tail that the device needs.
/// @param part that the header names; the library goes by it
/// @param device that it is
/// @param format of the file that is to hold the data
/// @param changes gets what was added
void make_loadable(Configuration& data, const std::string& part, const fpga::Device& device, Format format,
                   std::vector<Change>& changes);

} // namespace kvn

#endif
