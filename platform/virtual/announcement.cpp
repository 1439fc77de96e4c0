// SPDX-License-Identifier: Apache-2.0
// What the virtual carriers say about themselves.
#include "provider_announcement.h"

const char* MwProviderAnnouncement(void)
{
    return "the boards are simulated, no hardware is reached.";
}

const char* MwProviderVersion(void)
{
    return KVN_VERSION;
}
