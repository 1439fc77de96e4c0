// SPDX-License-Identifier: Apache-2.0
// Folders that Windows knows. No variable of the environment moves them.
#ifndef KVN_SYSTEM_WINDOWS_KNOWN_FOLDERS_H
#define KVN_SYSTEM_WINDOWS_KNOWN_FOLDERS_H

#include "system/windows/api.h"

#include <initguid.h>
#include <knownfolders.h>
#include <shlobj.h>

namespace kvn::system::windows
{

/// @return empty when there is none
[[nodiscard]] inline std::wstring known_folder(const KNOWNFOLDERID& id)
{
    wchar_t* path = nullptr;
    std::wstring folder = ::SHGetKnownFolderPath(id, KF_FLAG_DEFAULT, nullptr, &path) == S_OK ? path : L"";
    ::CoTaskMemFree(path);
    return folder;
}

} // namespace kvn::system::windows

#endif
