// SPDX-License-Identifier: Apache-2.0
// What the utility says when a signal stops it.
#ifndef KVN_TOOLS_UTILITY_INTERRUPTION_H
#define KVN_TOOLS_UTILITY_INTERRUPTION_H

#include "provider/watched_platform.h"

namespace utility
{

/// What the platform's calls of this process are noted in.
[[nodiscard]] mwapi::LoadWatch& load_watch();

/// From now on SIGINT, SIGTERM and SIGHUP, unless they are ignored, are answered by a line on standard error:
/// what was under way and the state of the module. The process then dies by the signal.
/// @param converts whether the run is a conversion
void tell_interruptions(bool converts);

} // namespace utility

#endif
