// SPDX-License-Identifier: Apache-2.0
// Loads a file into a virtual module by the library itself, so that its rules need no telling twice.
#ifndef KVN_ENGINE_FILE_TRIAL_H
#define KVN_ENGINE_FILE_TRIAL_H

#include "file/inspection.h"

#include <cstdint>
#include <string>

namespace kvn
{

enum class LoadKind { plain, compressed };

struct Trial {
    bool starts = false;
    int number = 0;           ///< of the library's error; 0 when the module started
    std::string error;        ///< the library's message; empty when the module started
    std::string module_says;  ///< what the module made of the data; empty when none reached it
    std::uint64_t bytes = 0;  ///< sent over the bus
    std::uint64_t loaded = 0; ///< configuration bytes that reached the device
};

/// Longest name that a module can give for its device.
inline constexpr std::size_t LONGEST_DEVICE_NAME = 26;

/// Loads the input into a module with this device. Messages name the input as the user did.
/// @param format whose loader is used; for Format::unknown the library looks for a file of the input's name,
/// as KVN_FPGA does
/// @param device at most LONGEST_DEVICE_NAME characters
/// Throws as Input::open, and std::bad_alloc. May be called in several threads at the same time.
[[nodiscard]] Trial try_load(const Input& input, Format format, const std::string& device, LoadKind kind);

} // namespace kvn

#endif
