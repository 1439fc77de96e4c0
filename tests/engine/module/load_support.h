// SPDX-License-Identifier: Apache-2.0
// What the tests of loads share: bitstreams as inputs, and clocks that a test sets.
#ifndef KVN_FPGA_TESTS_ENGINE_LOAD_SUPPORT_H
#define KVN_FPGA_TESTS_ENGINE_LOAD_SUPPORT_H

#include "file/input.h"
#include "module/load.h"
#include "stream.h"
#include "support/bitstreams.h"

#include <ostream>
#include <string>

namespace kvn
{

inline void PrintTo(Verdict verdict, std::ostream* out)
{
    *out << name_of(verdict);
}
inline void PrintTo(ModuleState state, std::ostream* out)
{
    *out << name_of(state);
}

} // namespace kvn

inline kvn::Input input_of(const std::string& content, const std::string& name)
{
    return kvn::Input::from_bytes({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()},
                                  name);
}

/// A bitstream file with these configuration bytes, first bit in bit 0.
/// @param name its extension is the format
inline kvn::Input bitstream(const std::string& name, const std::string& part, const Bytes& data)
{
    if (name.ends_with(".rbt"))
        return input_of(RbtFile{data}.device(part).text(), name);
    if (name.ends_with(".bit")) {
        BitFile file{data};
        file.device = part + '\0';
        return input_of(file.content(), name);
    }
    McbFile file{data};
    file.device = part;
    return input_of(file.content(), name);
}

/// The standard configuration of a device, as sent to a module.
inline Bytes configuration(const std::string& device, fpga::Defect defect = fpga::Defect::none)
{
    return fpga::reverse_each(fpga::make_stream(*fpga::find_device(device), {.defect = defect}));
}

/// "2v40cs144" of "2v40cs144-4"
inline std::string part_of(const std::string& device)
{
    return device.substr(0, device.find('-'));
}

#endif
