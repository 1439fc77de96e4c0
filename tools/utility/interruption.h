// SPDX-License-Identifier: Apache-2.0
// Reports what a signal interrupted.
#ifndef KVN_TOOLS_UTILITY_INTERRUPTION_H
#define KVN_TOOLS_UTILITY_INTERRUPTION_H

#include "provider/watched_platform.h"

namespace utility
{

/// The watch that the platform of this process updates.
[[nodiscard]] mwapi::LoadWatch& load_watch();

/// Handles SIGINT, SIGTERM and SIGHUP from now on, except ignored ones: a line on standard error reports what
/// was interrupted and the state of the module, and the process dies by the signal.
/// @param converts whether the run is a conversion
void tell_interruptions(bool converts);

} // namespace utility

#endif
