// SPDX-License-Identifier: Apache-2.0
// What is known of the machine and of who uses it.
#ifndef KVN_SYSTEM_HOST_H
#define KVN_SYSTEM_HOST_H

#include <optional>
#include <string>

namespace kvn::system
{

/// The machine's name in the network; null when it has none or the system does not tell.
[[nodiscard]] std::optional<std::string> host_name();

/// The user of this process; the number of one that has no name.
[[nodiscard]] std::string user_name();

/// What changes with every start of the system; null when the system does not tell.
/// @param file that holds it on Linux; empty: the system's own, another one is for tests
[[nodiscard]] std::optional<std::string> boot_id(const std::string& file = {});

} // namespace kvn::system

#endif
