// SPDX-License-Identifier: Apache-2.0
// Where a system keeps what belongs to all users.
#ifndef KVN_SYSTEM_PLACES_H
#define KVN_SYSTEM_PLACES_H

#include <string>

namespace kvn::system
{

/// A file by which the administrator decides for all users. No variable of the environment moves it.
/// @param name "kvn.toml"
[[nodiscard]] std::string administrators_file(const std::string& name);

/// A folder for locks that the processes of all users can write to, or at least those of this user.
[[nodiscard]] std::string shared_lock_folder();

} // namespace kvn::system

#endif
