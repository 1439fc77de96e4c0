// SPDX-License-Identifier: Apache-2.0
// Finds a platform by name: a library with the sixteen functions, the virtual carriers, or a recording.
#include "provider.h"

#include "system/environment.h"
#include "system/path_text.h"

#include <algorithm>
#include <filesystem>

namespace mwapi
{
namespace
{

using kvn::system::find_function;
using kvn::system::Library;
using kvn::system::library_file;
using kvn::system::path_of;
using kvn::system::text_of;

constexpr std::string_view VIRTUAL_CARRIERS = "mwvirtual";
constexpr std::string_view REPLAY = "mwreplay";
constexpr std::string_view OWN_LIBRARIES[] = {VIRTUAL_CARRIERS, REPLAY, "mwtrace"};

/// Where these libraries are, seen from a library of this project, from a program, and from a program in the
/// build tree.
constexpr const char* PROVIDER_FOLDERS[] = {KVN_PROVIDERS_FROM_LIBRARIES, KVN_PROVIDERS_FROM_PROGRAMS,
                                            "../lib"};

template <class Function>
void find(Library* library, const std::string& library_name, Function& function, const char* name)
{
    function = reinterpret_cast<Function>(find_function(library, name));
    if (function == nullptr)
        throw ProviderError{library_name + " has no function " + name};
}

/// What was loaded by that name.
Library* load(const std::string& library)
{
    try {
        return kvn::system::load_library(library);
    } catch (const kvn::system::LibraryError& error) {
        throw ProviderError{error.what()};
    }
}

} // namespace

// What is found must be the library's own, and must not stand in the way of this program's.
LoadedPlatform::LoadedPlatform(const std::string& library)
{
    Library* const loaded = load(library);
    std::apply(
        [&](const auto&... calls) { (find(loaded, library, functions_.*calls.function, calls.name), ...); },
        CALLS);
    announce_ = reinterpret_cast<decltype(&::MwProviderAnnouncement)>(
        find_function(loaded, "MwProviderAnnouncement"));
    tell_version_ =
        reinterpret_cast<decltype(&::MwProviderVersion)>(find_function(loaded, "MwProviderVersion"));
}

std::string_view LoadedPlatform::announcement() const
{
    const char* text = announce_ == nullptr ? nullptr : announce_();
    return text == nullptr ? "" : text;
}

std::string_view LoadedPlatform::version() const
{
    const char* text = tell_version_ == nullptr ? nullptr : tell_version_();
    return text == nullptr ? "" : text;
}

std::string LoadedPlatform::file() const
{
    std::error_code unreadable;
    const std::string path = kvn::system::file_of(reinterpret_cast<const void*>(functions_.MwOpenS));
    return path.empty() ? "" : text_of(std::filesystem::canonical(path_of(path), unreadable));
}

std::unique_ptr<LoadedPlatform> open_provider(const std::string& name, const void* beside)
{
    if (name.empty())
        return std::make_unique<LoadedPlatform>(usual_provider());
    if (name == "virtual")
        return std::make_unique<LoadedPlatform>(file_beside(beside, library_file(VIRTUAL_CARRIERS)));
    if (name.starts_with(REPLAY_PREFIX)) {
        kvn::system::set_variable("MWREPLAY_FILE", name.c_str() + REPLAY_PREFIX.size());
        return std::make_unique<LoadedPlatform>(file_beside(beside, library_file(REPLAY)));
    }
    return std::make_unique<LoadedPlatform>(library_of(name, beside));
}

std::string usual_provider()
{
    return library_file("mwapi");
}

std::string library_of(const std::string& name, const void* beside)
{
    if (std::ranges::find(OWN_LIBRARIES, name, library_file) == std::end(OWN_LIBRARIES))
        return name;
    const std::string own = file_beside(beside, name);
    std::error_code unknown;
    return std::filesystem::exists(path_of(own), unknown) ? own : name;
}

// A bare name would be searched for in the caller's own run path, but not under a sanitizer, which opens
// libraries on the program's behalf.
std::string file_beside(const void* address, const std::string& name)
{
    const std::filesystem::path holder = path_of(kvn::system::file_of(address));
    if (holder.empty())
        return name;
    const std::filesystem::path beside = holder.parent_path() / name;
    std::error_code unknown;
    if (exists(beside, unknown))
        return text_of(beside);
    for (const char* folder : PROVIDER_FOLDERS) {
        const std::filesystem::path library = holder.parent_path() / folder / name;
        if (exists(library, unknown))
            return text_of(library);
    }
    return text_of(beside);
}

} // namespace mwapi
