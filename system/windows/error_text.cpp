// SPDX-License-Identifier: Apache-2.0
#include "system/windows/error_text.h"

#include "system/windows/wide.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

namespace kvn::system
{
namespace
{

struct Meaning {
    unsigned long error;
    int number;
};

constexpr Meaning MEANINGS[] = {
    {ERROR_FILE_NOT_FOUND, ENOENT},
    {ERROR_PATH_NOT_FOUND, ENOENT},
    {ERROR_MOD_NOT_FOUND, ENOENT},
    {ERROR_BAD_NETPATH, ENOENT},
    {ERROR_BAD_PATHNAME, ENOENT},
    {ERROR_INVALID_NAME, ENOENT},
    {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
    {ERROR_ACCESS_DENIED, EACCES},
    {ERROR_SHARING_VIOLATION, EACCES},
    {ERROR_LOCK_VIOLATION, EACCES},
    {ERROR_INVALID_HANDLE, EBADF},
    {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},
    {ERROR_OUTOFMEMORY, ENOMEM},
    {ERROR_WRITE_PROTECT, EROFS},
    {ERROR_FILE_EXISTS, EEXIST},
    {ERROR_ALREADY_EXISTS, EEXIST},
    {ERROR_INVALID_PARAMETER, EINVAL},
    {ERROR_BROKEN_PIPE, EPIPE},
    {ERROR_NO_DATA, EPIPE},
    {ERROR_DISK_FULL, ENOSPC},
    {ERROR_HANDLE_DISK_FULL, ENOSPC},
    {ERROR_DIRECTORY, ENOTDIR},
    {ERROR_DIR_NOT_EMPTY, ENOTEMPTY},
    {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
    {ERROR_BAD_EXE_FORMAT, ENOEXEC},
    {ERROR_PRIVILEGE_NOT_HELD, EPERM},
};

const Meaning* find_meaning(unsigned long error) noexcept
{
    const auto* const found = std::ranges::find(MEANINGS, error, &Meaning::error);
    return found == std::end(MEANINGS) ? nullptr : found;
}

} // namespace

int errno_of(unsigned long error) noexcept
{
    const Meaning* const meaning = find_meaning(error);
    return meaning == nullptr ? EIO : meaning->number;
}

std::string error_text(unsigned long error)
{
    if (const Meaning* const meaning = find_meaning(error))
        return std::generic_category().message(meaning->number);
    wchar_t words[512];
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                       MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), words, std::size(words), nullptr);
    std::string text = narrow({words, length});
    text.erase(text.find_last_not_of(" .\r\n") + 1);
    return text.empty() ? "error " + std::to_string(error) + " of Windows" : text;
}

} // namespace kvn::system
