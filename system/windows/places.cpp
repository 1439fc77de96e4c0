// SPDX-License-Identifier: Apache-2.0
// Where a system keeps what belongs to all users.
#include "system/places.h"

#include "system/windows/known_folders.h"

#include <sddl.h>

namespace kvn::system
{
namespace
{

/// Makes a folder in which every user can make files, and use those of others. One that is there is left as
/// it is.
void make_shared_folder(const std::wstring& path)
{
    SECURITY_ATTRIBUTES rights{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
    // Administrators and the system have it; users can add files, and read and write what is in it.
    constexpr const wchar_t* RIGHTS =
        L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;;0x1201bf;;;AU)(A;OIIO;FRFW;;;AU)";
    if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(
            RIGHTS, SDDL_REVISION_1, &rights.lpSecurityDescriptor, nullptr) == FALSE)
        return;
    (void)::CreateDirectoryW(path.c_str(), &rights);
    (void)::LocalFree(rights.lpSecurityDescriptor);
}

} // namespace

std::string administrators_file(const std::string& name)
{
    return narrow(windows::known_folder(FOLDERID_ProgramData)) + "\\kvn\\" + name;
}

std::string shared_lock_folder()
{
    // Not the folder of the administrator's files: anybody may make this one.
    const std::wstring folder = windows::known_folder(FOLDERID_ProgramData) + L"\\kvn-locks";
    make_shared_folder(folder);
    return narrow(folder);
}

} // namespace kvn::system
