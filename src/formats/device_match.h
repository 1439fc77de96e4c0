// SPDX-License-Identifier: Apache-2.0
// The check that a bitstream was made for the module's FPGA.
#ifndef KVN_FPGA_FORMATS_DEVICE_MATCH_H
#define KVN_FPGA_FORMATS_DEVICE_MATCH_H

#include <cstring>

/// Whether the part that a file names begins with the device's name up to its dash; case matters. A device
/// without a name suits every file.
inline bool suits_device(const char* device_name, const char* part)
{
    return std::strncmp(device_name, part, std::strcspn(device_name, "-")) == 0;
}

#endif
