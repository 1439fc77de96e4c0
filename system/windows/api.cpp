// SPDX-License-Identifier: Apache-2.0
#include "system/windows/api.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <random>

namespace kvn::system::windows
{

std::wstring wide_path(const std::string& path)
{
    // A folder must leave room for a short name in it.
    constexpr std::size_t LONGEST_SHORT_PATH = MAX_PATH - 13;
    std::wstring name = wide(path);
    // Names of devices and of pipes are given as they are.
    const bool is_marked = name.starts_with(L"\\\\?\\") || name.starts_with(L"\\\\.\\");
    if (name.size() < LONGEST_SHORT_PATH || is_marked)
        return name;
    std::wstring full(::GetFullPathNameW(name.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(::GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.empty())
        return name;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

int fail_with_last_error() noexcept
{
    errno = last_error_number();
    return -1;
}

void throw_error(DWORD error, const char* what)
{
    throw std::system_error{errno_of(error), std::generic_category(), what};
}

std::wstring unique_name()
{
    static std::atomic<unsigned> count;
    std::random_device random;
    return L"kvn-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(count++) + L"-" +
           std::to_wstring(random());
}

TemporaryFile make_temporary_file(bool deletes_itself)
{
    std::array<wchar_t, MAX_PATH + 2> folder{};
    if (::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()) == 0)
        throw_last_error("folder for temporary files");
    const DWORD access = GENERIC_READ | GENERIC_WRITE | (deletes_itself ? DELETE : 0U);
    const DWORD flags = FILE_ATTRIBUTE_TEMPORARY | (deletes_itself ? FILE_FLAG_DELETE_ON_CLOSE : 0U);
    for (;;) {
        std::wstring path = folder.data() + unique_name() + L".tmp";
        Handle handle{
            ::CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr, CREATE_NEW, flags, nullptr)};
        if (handle.is_open())
            return {std::move(handle), std::move(path)};
        if (::GetLastError() != ERROR_FILE_EXISTS)
            throw_last_error("temporary file");
    }
}

void write_all(const Handle& file, const void* bytes, std::size_t size)
{
    constexpr std::size_t MOST = std::size_t{1} << 20;
    const auto* rest = static_cast<const char*>(bytes);
    while (size != 0) {
        DWORD written = 0;
        if (::WriteFile(file.get(), rest, static_cast<DWORD>(std::min(size, MOST)), &written, nullptr) ==
            FALSE)
            throw_last_error("temporary file");
        rest += written;
        size -= written;
    }
}

} // namespace kvn::system::windows
