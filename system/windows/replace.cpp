// SPDX-License-Identifier: Apache-2.0
#include "system/windows/replace.h"

#include "system/windows/api.h"

#include <cstddef>
#include <cstring>
#include <vector>

namespace kvn::system::windows
{
namespace
{

// Of Windows 10 and later; the headers have them only for these.
constexpr auto RENAME_INFORMATION = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
/// How long a file that others have open is tried again, in milliseconds.
constexpr ULONGLONG LONGEST_WAIT = 2000;

constexpr DWORD REPLACES = 1;
constexpr DWORD AS_POSIX_DOES = 2;

struct RenameInformation {
    DWORD flags;
    HANDLE root;
    DWORD name_bytes;
    wchar_t name[1];
};

bool replace_as_posix_does(const std::wstring& from, const std::wstring& to)
{
    const Handle file{CreateFileW(from.c_str(), DELETE | SYNCHRONIZE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr)};
    if (!file.is_open())
        return false;
    const std::size_t bytes = to.size() * sizeof(wchar_t);
    std::vector<std::byte> memory(sizeof(RenameInformation) + bytes);
    auto* const wish = reinterpret_cast<RenameInformation*>(memory.data());
    wish->flags = REPLACES | AS_POSIX_DOES;
    wish->name_bytes = static_cast<DWORD>(bytes);
    std::memcpy(memory.data() + offsetof(RenameInformation, name), to.data(), bytes);
    return SetFileInformationByHandle(file.get(), RENAME_INFORMATION, wish,
                                      static_cast<DWORD>(memory.size())) != FALSE;
}

} // namespace

// MoveFileEx replaces no open file, and knows all file systems: there, others that read it are waited for.
int replace_file(const std::wstring& from, const std::wstring& to)
{
    const ULONGLONG end = GetTickCount64() + LONGEST_WAIT;
    for (;;) {
        if (replace_as_posix_does(from, to) ||
            MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE)
            return 0;
        const DWORD problem = GetLastError();
        const bool may_be_open = problem == ERROR_ACCESS_DENIED || problem == ERROR_SHARING_VIOLATION;
        if (!may_be_open || GetTickCount64() >= end)
            return errno_of(problem);
        Sleep(1);
    }
}

} // namespace kvn::system::windows
