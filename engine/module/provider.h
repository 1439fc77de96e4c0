// SPDX-License-Identifier: Apache-2.0
// The provider of a process: the library with the Mw... functions, and what is known of it.
#ifndef KVN_ENGINE_MODULE_PROVIDER_H
#define KVN_ENGINE_MODULE_PROVIDER_H

#include "platform.h"

#include <memory>
#include <optional>
#include <string>

namespace kvn
{

/// What every record says of the provider.
struct ProviderIdentity {
    std::string
        name; ///< as it was asked for: "virtual", "replay:FILE", a path or soname; the usual one's soname
    std::optional<std::string> file = {};    ///< real path of the library; null when it is not known
    std::optional<std::string> version = {}; ///< null when the library does not tell
    std::string announcement = {}; ///< what users must be told before the first call; empty for hardware
    bool simulated = false;        ///< no hardware is reached: it announces something

    friend bool operator==(const ProviderIdentity&, const ProviderIdentity&) = default;
};

/// May be used by several threads at once as far as what is behind it may: the virtual carriers and
/// recordings may. Of a maker's library nothing is assumed: one thread for each bus at the most.
class Provider
{
public:
    /// Opens the provider of this process. Its library stays loaded until the process ends; so there is one,
    /// and every further call with the same name returns it. Thread-safe, but for a recording no other thread
    /// may read or change the environment during the first call.
    /// @param name "virtual" for the virtual carriers, "replay:FILE" for a recording, else the path or soname
    ///        of a library; empty for the usual one (libmwapi.so)
    /// @param beside an address in the program or library beside which this project's own libraries lie
    /// @throws FailureError: ExitStatus::no_module when the library is missing or lacks a function, after
    /// which
    ///         another one may be opened; ExitStatus::usage when another provider is open
    static std::shared_ptr<Provider> open(const std::string& name, const void* beside);

    /// One that is not the process's: any number of them may exist. Its identity has no file.
    /// @param platform must outlive this
    Provider(mwapi::Platform& platform, std::string name);
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;

    [[nodiscard]] const ProviderIdentity& identity() const { return identity_; }
    /// What calls are led to: mwapi::UsePlatform use{provider.platform()}.
    [[nodiscard]] mwapi::Platform& platform() const { return *platform_; }

private:
    Provider(std::unique_ptr<mwapi::Platform> platform, ProviderIdentity identity);

    std::unique_ptr<mwapi::Platform> owned_;
    mwapi::Platform* platform_;
    ProviderIdentity identity_;
};

} // namespace kvn

#endif
