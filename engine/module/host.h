// SPDX-License-Identifier: Apache-2.0
// What is known of the machine.
#ifndef KVN_ENGINE_MODULE_HOST_H
#define KVN_ENGINE_MODULE_HOST_H

#include <optional>
#include <string>

namespace kvn
{

/// Its name in the network; null when it has none or the system does not tell.
[[nodiscard]] std::optional<std::string> host_name();

} // namespace kvn

#endif
