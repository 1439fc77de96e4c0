// SPDX-License-Identifier: Apache-2.0
// What is known of the machine.
#include "module/host.h"

#include <unistd.h>

#include <array>
#include <climits>

namespace kvn
{

std::optional<std::string> host_name()
{
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0')
        return std::nullopt;
    return name.data();
}

} // namespace kvn
