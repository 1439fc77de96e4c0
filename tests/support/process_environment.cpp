// SPDX-License-Identifier: Apache-2.0
// Which variables programs that are run as processes inherit.
#include "support/process.h"

bool inherits(const Command& command, std::string_view variable)
{
    for (const std::string_view ours : {"KVN_", "MWAPI", "MWVIRTUAL_"})
        if (variable.starts_with(ours))
            return false;
    return !command.variables.contains(std::string{variable.substr(0, variable.find('='))});
}
