// SPDX-License-Identifier: Apache-2.0
#include "system/dynamic_library.h"

#include "system/windows/error_text.h"
#include "system/windows/wide.h"

#include <windows.h>

namespace kvn::system
{
namespace
{

Library* library_of(HMODULE module)
{
    return reinterpret_cast<Library*>(module);
}

HMODULE module_of(Library* library)
{
    return reinterpret_cast<HMODULE>(library);
}

HMODULE module_with(const void* address) noexcept
{
    if (address == nullptr)
        return nullptr; // which would stand for the program
    HMODULE module = nullptr;
    constexpr DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module) != 0 ? module : nullptr;
}

/// A path as it is, however short the buffer for it was: Windows tells neither the length nor that it is cut.
std::wstring file_of_module(HMODULE module)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::wstring variable(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

/// The file of that name in the first folder of PATH that has one; empty if none has.
std::wstring find_in_path(const std::wstring& name)
{
    const std::wstring folders = variable(L"PATH");
    std::wstring found(SearchPathW(folders.c_str(), name.c_str(), L".dll", 0, nullptr, nullptr), L'\0');
    found.resize(SearchPathW(folders.c_str(), name.c_str(), L".dll", static_cast<DWORD>(found.size()),
                             found.data(), nullptr));
    return found;
}

std::wstring absolute(const std::wstring& path)
{
    std::wstring whole(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    whole.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr));
    return whole;
}

HMODULE load_file(const std::wstring& path)
{
    return LoadLibraryExW(absolute(path).c_str(), nullptr,
                          LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

/// One that is loaded already, else from the folders of the program and the system, else from PATH.
HMODULE load_by_name(const std::wstring& name)
{
    HMODULE module = LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (module != nullptr || GetLastError() != ERROR_MOD_NOT_FOUND)
        return module;
    const std::wstring file = find_in_path(name);
    if (!file.empty())
        return load_file(file);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

} // namespace

std::string library_file(std::string_view name)
{
    return std::string{name}.append(".dll");
}

Library* program_itself() noexcept
{
    return library_of(GetModuleHandleW(nullptr));
}

Library* load_library(const std::string& name)
{
    const std::wstring wanted = wide(name);
    const bool is_path = wanted.find_first_of(L"/\\:") != std::wstring::npos;
    HMODULE module = is_path ? load_file(wanted) : load_by_name(wanted);
    if (module == nullptr)
        throw LibraryError{name + ": cannot open shared object file: " + error_text(GetLastError())};
    return library_of(module);
}

void* find_function(Library* library, const char* name) noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(module_of(library), name));
}

std::string file_of(const void* address)
{
    HMODULE module = module_with(address);
    return module == nullptr ? "" : narrow(file_of_module(module));
}

bool are_in_one_library(const void* a, const void* b) noexcept
{
    HMODULE module = module_with(a);
    return module != nullptr && module == module_with(b);
}

} // namespace kvn::system
