// SPDX-License-Identifier: Apache-2.0
// Owners and rights, as Windows has them, judged.
#ifndef KVN_SYSTEM_WINDOWS_SECURITY_H
#define KVN_SYSTEM_WINDOWS_SECURITY_H

#include "system/ownership.h"

#include <windows.h>

#include <optional>
#include <string>

namespace kvn::system::windows
{

enum class Guarded {
    file,  ///< by rights to write it, or to say who may
    folder ///< by rights to take files out of it, or to say who may
};

/// @param security of a file or folder, with its owner and the list of rights
/// @return as fault_of_ownership() and fault_of_folder()
[[nodiscard]] std::optional<std::string> fault_in(PSECURITY_DESCRIPTOR security, Guarded what, UserId owner);

} // namespace kvn::system::windows

#endif
