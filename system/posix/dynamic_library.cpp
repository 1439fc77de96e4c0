// SPDX-License-Identifier: Apache-2.0
#include "system/dynamic_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

namespace kvn::system
{

std::string library_file(std::string_view name)
{
    return std::string{"lib"}.append(name).append(".so");
}

Library* program_itself() noexcept
{
    return static_cast<Library*>(dlopen(nullptr, RTLD_NOW));
}

Library* load_library(const std::string& name)
{
    void* loaded = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        throw LibraryError{dlerror()}; // NOLINT(concurrency-mt-unsafe): of this thread
    return static_cast<Library*>(loaded);
}

void* find_function(Library* library, const char* name) noexcept
{
    return dlsym(static_cast<void*>(library), name);
}

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

bool are_in_one_library(const void* a, const void* b) noexcept
{
    Dl_info first{};
    Dl_info second{};
    return dladdr(a, &first) != 0 && dladdr(b, &second) != 0 && first.dli_fbase == second.dli_fbase;
}

} // namespace kvn::system
