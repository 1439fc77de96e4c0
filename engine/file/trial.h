// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself, so that its rules need no telling twice.
#ifndef KVN_ENGINE_FILE_TRIAL_H
#define KVN_ENGINE_FILE_TRIAL_H

#include <cstdint>
#include <string>

namespace kvn
{

enum class LoadKind { plain, compressed };

struct Trial {
    bool starts = false;
    std::string error;        ///< the library's message; empty when the module started
    std::string module_says;  ///< what the module made of the data; empty when none reached it
    std::uint64_t bytes = 0;  ///< sent over the bus
    std::uint64_t loaded = 0; ///< configuration bytes that reached the device
};

/// Longest name that a module can give for its device.
inline constexpr std::size_t LONGEST_DEVICE_NAME = 26;

/// Loads the file into a module with this device.
[[nodiscard]] Trial try_load(const std::string& file, const std::string& device, LoadKind kind);

} // namespace kvn

#endif
