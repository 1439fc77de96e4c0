// SPDX-License-Identifier: Apache-2.0
// Families of FPGAs that no module carries, so that a file for one of them can be named for what it is.
#ifndef KVN_ENGINE_FILE_FAMILIES_H
#define KVN_ENGINE_FILE_FAMILIES_H

#include <string_view>

namespace kvn
{

/// What the configuration streams of a family are made of.
enum class Packets {
    known,  ///< packets for the registers of this project's chip model
    others, ///< packets for other registers, or of another width
    none    ///< frames behind a length count, or something else
};

struct OtherFamily {
    std::string_view name; ///< "Spartan-3E"
    Packets packets;
};

/// The family of a part such as "3s500ecp132" or "4005epc84", letter case aside; null when the part is of
/// none that is known here, as those that modules carry. The result lives as long as the program.
[[nodiscard]] const OtherFamily* other_family(std::string_view part);

} // namespace kvn

#endif
