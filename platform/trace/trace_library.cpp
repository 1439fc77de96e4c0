// SPDX-License-Identifier: Apache-2.0
// libmwtrace: what MWTRACE_PROVIDER names, recorded to the file that MWTRACE_FILE names.
#include "mwapi_forward.h"
#include "provider/provider.h"
#include "provider_announcement.h"
#include "recording_platform.h"

#include <cstdlib>

namespace mwtrace
{
namespace
{

/// What every function returns if there is no platform to pass the call on to.
constexpr std::uint32_t NO_PROVIDER = 0xE2000001;

std::string variable(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? "" : value;
}

/// An address in this library.
const void* in_this_library()
{
    return reinterpret_cast<const void*>(&variable);
}

/// Whether a function is in this library. Comparing it with ours by name does not work: a host's function of
/// that name replaces ours.
bool is_our_own(decltype(&::MwOpenS) function)
{
    return kvn::system::are_in_one_library(reinterpret_cast<const void*>(function), in_this_library());
}

/// A recorder of the named provider. Nothing of it is destroyed: the host may call until the process ends.
mwapi::Platform* make_platform(const std::string& wish)
{
    const std::string provider = wish.empty()        ? mwapi::usual_provider()
                                 : wish == "virtual" ? kvn::system::library_file("mwvirtual")
                                                     : wish;
    auto loaded = std::make_unique<mwapi::LoadedPlatform>(mwapi::library_of(provider, in_this_library()));
    if (is_our_own(loaded->functions()->MwOpenS))
        return new mwapi::MissingPlatform{NO_PROVIDER, "MWTRACE_PROVIDER names the recorder itself"};
    auto recorder = recorder_from_environment("MWTRACE_FILE", provider);
    if (recorder == nullptr) {
        if (variable("MWTRACE_FILE").empty())
            (void)std::fputs("mwtrace: MWTRACE_FILE is not set; the run goes on unrecorded\n", stderr);
        return loaded.release();
    }
    std::unique_ptr<RecordingPlatform> recording;
    recorder->attempt([&] { recording = std::make_unique<RecordingPlatform>(*loaded, *recorder); });
    if (recording == nullptr)
        return loaded.release();
    (void)loaded.release();
    (void)recorder.release();
    return recording.release();
}

mwapi::Platform* platform_of_environment()
{
    try {
        return make_platform(variable("MWTRACE_PROVIDER"));
    } catch (const mwapi::ProviderError& error) {
        const std::string advice =
            "set MWTRACE_PROVIDER to the library with the Mw... functions, or to virtual: ";
        return new mwapi::MissingPlatform{NO_PROVIDER, advice + error.what()};
    }
}

} // namespace
} // namespace mwtrace

// What the provider behind this one says. An exception is left to the first call, which meets the same
// problem and reports it.
const char* MwProviderAnnouncement(void)
{
    try {
        static const std::string text{mwapi::program_platform().announcement()};
        return text.c_str();
    } catch (const std::exception&) {
        return nullptr;
    }
}

const char* MwProviderVersion(void)
{
    try {
        static const std::string text{mwapi::program_platform().version()};
        return text.c_str();
    } catch (const std::exception&) {
        return nullptr;
    }
}

mwapi::Platform& mwapi::program_platform()
{
    static Platform* const made = mwtrace::platform_of_environment();
    return *made;
}
