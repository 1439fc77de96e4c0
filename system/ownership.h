// SPDX-License-Identifier: Apache-2.0
// Whether a file can have been written by anybody but those who may.
#ifndef KVN_SYSTEM_OWNERSHIP_H
#define KVN_SYSTEM_OWNERSHIP_H

#include <optional>
#include <string>

namespace kvn::system
{

/// A user of a POSIX system by number. On Windows ADMINISTRATOR stands for the system itself and its
/// administrators, any other number for the user of this process.
using UserId = unsigned int;
inline constexpr UserId ADMINISTRATOR = 0;

/// The user of this process; ADMINISTRATOR is one of several on Windows, and never returned there.
[[nodiscard]] UserId own_user() noexcept;

/// Looks at an open file: its name may lead to another one by now.
/// @param owner who must own it, and must be the only one who can write it
/// @return what is wrong, as in "it belongs to user 1000, not to user 0"; null when nothing is
[[nodiscard]] std::optional<std::string> fault_of_ownership(int descriptor, UserId owner);

/// Looks at the folder of a file whose place is fixed, there or not: who may take files out of it may undo
/// what the file says. Only where anybody can make that folder; elsewhere nothing is wrong with it.
/// @return what is wrong with the folder, as fault_of_ownership(); null when nothing is, or there is none
[[nodiscard]] std::optional<std::string> fault_of_folder(const std::string& file, UserId owner);

} // namespace kvn::system

#endif
