// SPDX-License-Identifier: Apache-2.0
// The utility's platform: the provider that the environment variable KVN_MWAPI names, loaded at the first
// call of a function. Conversions need none.
#include "console.h"
#include "interruption.h"
#include "kvn_fpga.h"
#include "mwapi_forward.h"
#include "provider/provider.h"
#include "provider/watched_platform.h"

#include <cstdlib>

namespace
{
/// What every function returns when there is no provider.
constexpr std::uint32_t NO_PROVIDER = 0x4B564E01;

std::string advice(const std::string& name)
{
    if (name.empty())
        return "set KVN_MWAPI to the library with the Mw... functions, or to virtual";
    if (name == "virtual")
        return "KVN_MWAPI asks for the virtual carriers";
    if (name.starts_with(mwapi::REPLAY_PREFIX))
        return "KVN_MWAPI asks for a recording";
    return "set KVN_MWAPI to another library with the Mw... functions";
}

/// An address in the library. This project's providers are in the library's folder, built and installed.
const void* in_library()
{
    int major = 0;
    int minor = 0;
    char* text = nullptr;
    kvn_fpga{}.kvn_fpga_version(&major, &minor, &text);
    return text;
}

/// The name that a user knows the provider by: the value of KVN_MWAPI, without a recording's name.
std::string short_name(const std::string& name)
{
    if (name.empty())
        return mwapi::usual_provider();
    const bool replays = name.starts_with(mwapi::REPLAY_PREFIX);
    return "KVN_MWAPI is " + (replays ? name.substr(0, mwapi::REPLAY_PREFIX.size() - 1) : name);
}

std::unique_ptr<mwapi::Platform> choose_platform()
{
    // Choice: an empty variable counts as not set.
    const char* wish = std::getenv("KVN_MWAPI"); // NOLINT(concurrency-mt-unsafe): the only thread
    const std::string name = wish == nullptr ? "" : wish;
    try {
        auto platform = mwapi::open_provider(name, in_library());
        if (const std::string_view words = platform->announcement(); !words.empty())
            utility::console().tell("KVN_FPGA: " + short_name(name) + ": " + std::string{words});
        return std::make_unique<mwapi::WatchedPlatform>(std::move(platform), utility::load_watch());
    } catch (const mwapi::ProviderError& error) {
        return std::make_unique<mwapi::MissingPlatform>(NO_PROVIDER, advice(name) + ": " + error.what());
    }
}
} // namespace

mwapi::Platform& mwapi::program_platform()
{
    // Never destroyed: the functions may be called until the process ends.
    static Platform* const chosen = choose_platform().release();
    return *chosen;
}
