// SPDX-License-Identifier: Apache-2.0
// Names of interrupts: the same on every system, as records and messages carry them.
#include "system/interrupts.h"

namespace kvn::system
{

std::string_view name_of(Interrupt interrupt) noexcept
{
    switch (interrupt) {
    case Interrupt::interrupt:
        return "SIGINT";
    case Interrupt::terminate:
        return "SIGTERM";
    default:
        return "SIGHUP";
    }
}

} // namespace kvn::system
