// SPDX-License-Identifier: Apache-2.0
// The provider of a process: the library with the Mw... functions, and what is known of it.
#include "module/provider.h"

#include "errors/failure.h"
#include "provider/provider.h"

#include <mutex>

namespace kvn
{
namespace
{

/// What the platform says of itself; null for an empty text.
std::optional<std::string> if_any(std::string text)
{
    return text.empty() ? std::nullopt : std::optional{std::move(text)};
}

ProviderIdentity identity_of(const mwapi::Platform& platform, std::string name)
{
    ProviderIdentity identity{.name = std::move(name)};
    identity.version = if_any(std::string{platform.version()});
    identity.announcement = platform.announcement();
    identity.simulated = !identity.announcement.empty();
    return identity;
}

std::unique_ptr<mwapi::LoadedPlatform> open_library(const std::string& name, const void* beside)
{
    try {
        return mwapi::open_provider(name, beside);
    } catch (const mwapi::ProviderError& error) {
        throw FailureError{
            {.status = ExitStatus::no_module,
             .what = "the provider " + name + " cannot be used: " + error.what(),
             .why = "the library is missing, needs another one that is missing, is of another machine, or is "
                    "no provider: one has all sixteen Mw... functions",
             .remedy = "name the board maker's library with the Mw... functions, or virtual for simulated "
                       "boards"}};
    }
}

} // namespace

std::shared_ptr<Provider> Provider::open(const std::string& name, const void* beside)
{
    static std::mutex mutex;
    static std::shared_ptr<Provider> opened;
    const std::string wanted = name.empty() ? mwapi::usual_provider() : name;
    const std::lock_guard lock{mutex};
    if (opened != nullptr && opened->identity().name != wanted)
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "the provider " + wanted + " cannot be opened: this process uses " +
                                    opened->identity().name,
                            .why = "a process has one provider, whose library stays loaded until it ends",
                            .remedy = "use another process for another provider"}};
    if (opened == nullptr) {
        auto library = open_library(wanted, beside);
        ProviderIdentity identity = identity_of(*library, wanted);
        identity.file = if_any(library->file());
        opened.reset(new Provider{std::move(library), std::move(identity)});
    }
    return opened;
}

Provider::Provider(mwapi::Platform& platform, std::string name)
    : platform_{&platform}, identity_{identity_of(platform, std::move(name))}
{
}

Provider::Provider(std::unique_ptr<mwapi::Platform> platform, ProviderIdentity identity)
    : owned_{std::move(platform)}, platform_{owned_.get()}, identity_{std::move(identity)}
{
}

} // namespace kvn
