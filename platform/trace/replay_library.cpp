// SPDX-License-Identifier: Apache-2.0
// libmwreplay: the recording that MWREPLAY_FILE names.
#include "mwapi_forward.h"
#include "provider_announcement.h"
#include "replaying_platform.h"

#include <cstdio>
#include <cstdlib>

namespace mwtrace
{
namespace
{

/// Reports at the end of the process which calls of the recording the run has left out.
class TellRest
{
public:
    ~TellRest()
    {
        if (platform == nullptr)
            return;
        try {
            const std::string rest = platform->rest();
            if (!rest.empty())
                (void)std::fprintf(stderr, "mwreplay: %s\n", rest.c_str());
        } catch (const std::bad_alloc&) {
            (void)std::fputs("mwreplay: no memory is left to say what the run has left out\n", stderr);
        }
    }
    ReplayingPlatform* platform = nullptr;
};

/// Never destroyed: the host may call until the process ends.
ReplayingPlatform* platform_of_environment()
{
    static TellRest at_exit;
    const char* path = std::getenv("MWREPLAY_FILE"); // NOLINT(concurrency-mt-unsafe)
    at_exit.platform = new ReplayingPlatform{path == nullptr ? "MWREPLAY_FILE (not set)" : path};
    return at_exit.platform;
}

} // namespace
} // namespace mwtrace

const char* MwProviderAnnouncement(void)
{
    return "a recording answers, no hardware is reached.";
}

const char* MwProviderVersion(void)
{
    return KVN_VERSION;
}

mwapi::Platform& mwapi::program_platform()
{
    static mwtrace::ReplayingPlatform* const made = mwtrace::platform_of_environment();
    return *made;
}
