// SPDX-License-Identifier: Apache-2.0
// Finds a platform by name: a library with the sixteen functions, the virtual carriers, or a recording.
#include "provider.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace mwapi
{
namespace
{

constexpr const char* VIRTUAL_CARRIERS = "libmwvirtual.so";
constexpr const char* REPLAY = "libmwreplay.so";
constexpr std::string_view OWN_LIBRARIES[] = {VIRTUAL_CARRIERS, REPLAY, "libmwtrace.so"};

/// Where these libraries are, seen from a library of this project, from a program, and from a program in the
/// build tree.
constexpr const char* PROVIDER_FOLDERS[] = {KVN_PROVIDERS_FROM_LIBRARIES, KVN_PROVIDERS_FROM_PROGRAMS,
                                            "../lib"};

/// The library or program that holds an address; empty if there is none.
std::string file_of(const void* address)
{
    Dl_info holder{};
    const bool found = dladdr(address, &holder) != 0 && holder.dli_fname != nullptr;
    std::string file = found ? holder.dli_fname : "";
    if (file.empty() || file.find('/') != std::string::npos)
        return file;
    // A program that PATH has led to is known by its bare name.
    std::error_code unreadable;
    return std::filesystem::read_symlink("/proc/self/exe", unreadable).string();
}

template <class Function>
void find(void* library, const std::string& library_name, Function& function, const char* name)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr)
        throw ProviderError{library_name + " has no function " + name};
}

} // namespace

LoadedPlatform::LoadedPlatform(const std::string& library)
{
    // Local: what is found must be the library's own, and must not stand in the way of this program's.
    void* loaded = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        throw ProviderError{dlerror()};
    std::apply(
        [&](const auto&... calls) { (find(loaded, library, functions_.*calls.function, calls.name), ...); },
        CALLS);
    announce_ =
        reinterpret_cast<decltype(&::MwProviderAnnouncement)>(dlsym(loaded, "MwProviderAnnouncement"));
    tell_version_ = reinterpret_cast<decltype(&::MwProviderVersion)>(dlsym(loaded, "MwProviderVersion"));
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
    const std::filesystem::path path = file_of(reinterpret_cast<const void*>(functions_.MwOpenS));
    return path.empty() ? "" : std::filesystem::canonical(path, unreadable).string();
}

std::unique_ptr<LoadedPlatform> open_provider(const std::string& name, const void* beside)
{
    if (name.empty())
        return std::make_unique<LoadedPlatform>(USUAL_PROVIDER);
    if (name == "virtual")
        return std::make_unique<LoadedPlatform>(file_beside(beside, VIRTUAL_CARRIERS));
    if (name.starts_with(REPLAY_PREFIX)) {
        (void)setenv("MWREPLAY_FILE", name.c_str() + REPLAY_PREFIX.size(),
                     1); // NOLINT(concurrency-mt-unsafe)
        return std::make_unique<LoadedPlatform>(file_beside(beside, REPLAY));
    }
    return std::make_unique<LoadedPlatform>(library_of(name, beside));
}

std::string library_of(const std::string& name, const void* beside)
{
    if (std::ranges::find(OWN_LIBRARIES, name) == std::end(OWN_LIBRARIES))
        return name;
    const std::string own = file_beside(beside, name.c_str());
    std::error_code unknown;
    return std::filesystem::exists(own, unknown) ? own : name;
}

// A bare name would be searched for in the caller's own run path, but not under a sanitizer, which opens
// libraries on the program's behalf.
std::string file_beside(const void* address, const char* name)
{
    const std::filesystem::path holder = file_of(address);
    if (holder.empty())
        return name;
    const std::filesystem::path beside = holder.parent_path() / name;
    std::error_code unknown;
    if (exists(beside, unknown))
        return beside.string();
    for (const char* folder : PROVIDER_FOLDERS) {
        const std::filesystem::path library = holder.parent_path() / folder / name;
        if (exists(library, unknown))
            return library.string();
    }
    return beside.string();
}

} // namespace mwapi
