// SPDX-License-Identifier: Apache-2.0
// Finds a platform by name: a library with the sixteen functions, the virtual carriers, or a recording.
#ifndef MWAPI_PROVIDER_H
#define MWAPI_PROVIDER_H

#include "provider_announcement.h"
#include "system/dynamic_library.h"
#include "uniform_platform.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace mwapi
{

/// Why a provider cannot be used: the loader's words, or "libc.so.6 has no function MwOpenS".
class ProviderError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The functions of a library. Installed, they are called directly.
class LoadedPlatform final : public UniformPlatform<LoadedPlatform>
{
public:
    /// Loads a library, which then stays loaded until the process ends.
    /// @param library path or soname
    /// @throws ProviderError when it cannot be loaded or lacks a function
    explicit LoadedPlatform(const std::string& library);

    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return (functions_.*CALL<function>.function)(arguments...);
    }
    /// What the library says of itself (provider_announcement.h).
    [[nodiscard]] std::string_view announcement() const override;
    [[nodiscard]] std::string_view version() const override;
    /// The real path of the file that holds its functions; empty if the system cannot tell.
    [[nodiscard]] std::string file() const;
    [[nodiscard]] const Functions* functions() const override { return &functions_; }

private:
    Functions functions_;
    // Null: the library has no such function.
    decltype(&::MwProviderAnnouncement) announce_;
    decltype(&::MwProviderVersion) tell_version_;
};

/// Stands where there is no provider: every operation fails, and the words for any code say why.
class MissingPlatform final : public UniformPlatform<MissingPlatform>
{
public:
    /// @param code what the operations return
    MissingPlatform(std::uint32_t code, std::string problem) : code_{code}, problem_{std::move(problem)} {}

    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... /*arguments*/)
    {
        return code_;
    }
    std::uint32_t error_text(std::uint32_t /*code*/, char* text) override
    {
        write_error_text(problem_, text);
        return 0;
    }

private:
    std::uint32_t code_;
    std::string problem_;
};

/// What open_provider() loads when no name is given: the maker's library.
[[nodiscard]] std::string usual_provider();
/// How the name of a recording begins.
inline constexpr std::string_view REPLAY_PREFIX = "replay:";

/// Opens a provider. Its library stays loaded until the process ends.
/// @param name "virtual" for the virtual carriers, "replay:FILE" for a recording, else the path or soname of
///        a library, those of this project being found without a path; empty for usual_provider(). A
///        recording's name is put into the environment, where the replaying library finds it; so no other
///        thread may use the environment meanwhile, and there can be one recording in a process.
/// @param beside an address in the library or program beside which this project's own libraries lie
/// @throws ProviderError
[[nodiscard]] std::unique_ptr<LoadedPlatform> open_provider(const std::string& name, const void* beside);

/// What to load for the name of a library: a library of this project from where they lie, even if the system
/// would not find it there; any other name unchanged.
[[nodiscard]] std::string library_of(const std::string& name, const void* beside);

/// The path of a library of this project: in the folder of the library or program that holds an address, or,
/// where it is not there, in the folder that they are installed in; the bare name when no folder is known.
[[nodiscard]] std::string file_beside(const void* address, const std::string& name);

} // namespace mwapi

#endif
