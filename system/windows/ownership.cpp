// SPDX-License-Identifier: Apache-2.0
// Whether a file can have been written by anybody but those who may.
#include "system/ownership.h"

#include "system/windows/api.h"
#include "system/windows/security.h"

#include <aclapi.h>
#include <io.h>
#include <sddl.h>

#include <array>
#include <memory>
#include <vector>

namespace kvn::system
{
namespace
{

constexpr UserId OWN_USER = 1;
/// The rights by which content changes, or who has which rights.
constexpr DWORD WRITING =
    FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

/// Those by which files leave a folder. That users can add files is usual, and does no harm.
constexpr DWORD TAKING_AWAY =
    FILE_DELETE_CHILD | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

struct LocalMemory {
    void operator()(void* memory) const noexcept { (void)::LocalFree(memory); }
};

using Security = std::unique_ptr<void, LocalMemory>;

/// Owner and rights of an open file. @return null when they cannot be read
Security security_of(HANDLE handle)
{
    PSECURITY_DESCRIPTOR found = nullptr;
    if (::GetSecurityInfo(handle, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                          nullptr, nullptr, nullptr, nullptr, &found) != ERROR_SUCCESS)
        return nullptr;
    return Security{found};
}

/// The service that installs Windows owns what belongs to it.
bool is_installer(PSID user)
{
    PSID installer = nullptr;
    constexpr const wchar_t* NAME = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";
    if (::ConvertStringSidToSidW(NAME, &installer) == FALSE)
        return false;
    const bool is_equal = ::EqualSid(user, installer) != FALSE;
    (void)::LocalFree(installer);
    return is_equal;
}

bool is_administrator(PSID user)
{
    return ::IsWellKnownSid(user, WinBuiltinAdministratorsSid) != FALSE ||
           ::IsWellKnownSid(user, WinLocalSystemSid) != FALSE || is_installer(user);
}

bool is_own_user(PSID user)
{
    HANDLE token = nullptr;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE)
        return false;
    const windows::Handle opened{token};
    alignas(TOKEN_USER) std::array<char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> facts{};
    DWORD size = facts.size();
    return ::GetTokenInformation(token, TokenUser, facts.data(), size, &size) != FALSE &&
           ::EqualSid(user, reinterpret_cast<const TOKEN_USER*>(facts.data())->User.Sid) != FALSE;
}

bool may_write(PSID user, UserId owner)
{
    return is_administrator(user) || (owner != ADMINISTRATOR && is_own_user(user));
}

/// "BENCH3\pat"
std::string name_of(PSID user)
{
    constexpr std::size_t LONGEST = 256;
    std::array<wchar_t, LONGEST> name{};
    std::array<wchar_t, LONGEST> domain{};
    DWORD name_size = name.size();
    DWORD domain_size = domain.size();
    SID_NAME_USE use{};
    if (::LookupAccountSidW(nullptr, user, name.data(), &name_size, domain.data(), &domain_size, &use) ==
        FALSE)
        return "an unknown user";
    const std::string at = narrow(domain.data());
    return "user " + (at.empty() ? "" : at + "\\") + narrow(name.data());
}

/// The list of rights; null when everybody may do anything.
PACL rights_of(PSECURITY_DESCRIPTOR security)
{
    BOOL is_there = FALSE;
    BOOL is_default = FALSE;
    PACL rights = nullptr;
    if (::GetSecurityDescriptorDacl(security, &is_there, &rights, &is_default) == FALSE || is_there == FALSE)
        return nullptr;
    return rights;
}

/// Entries that give rights: with a condition, too, as somebody may meet it.
bool gives_rights(const ACE_HEADER& entry)
{
    const bool allows =
        entry.AceType == ACCESS_ALLOWED_ACE_TYPE || entry.AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    return allows && (entry.AceFlags & INHERIT_ONLY_ACE) == 0;
}

/// Whether somebody else has one of the rights.
bool have_others(DWORD wanted, PSECURITY_DESCRIPTOR security, UserId owner)
{
    const PACL rights = rights_of(security);
    if (rights == nullptr)
        return true;
    for (DWORD i = 0; i < rights->AceCount; ++i) {
        void* entry = nullptr;
        if (::GetAce(rights, i, &entry) == FALSE)
            return true;
        if (!gives_rights(*static_cast<const ACE_HEADER*>(entry)))
            continue;
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        if ((allowed->Mask & wanted) != 0 && !may_write(&allowed->SidStart, owner))
            return true;
    }
    return false;
}

std::optional<std::string> fault_of(HANDLE opened, windows::Guarded what, UserId owner)
{
    // The number of what is not open also stands for this process.
    const Security security = opened == INVALID_HANDLE_VALUE ? nullptr : security_of(opened);
    return security == nullptr ? "its owner cannot be read" : windows::fault_in(security.get(), what, owner);
}

} // namespace

std::optional<std::string> windows::fault_in(PSECURITY_DESCRIPTOR security, Guarded what, UserId owner)
{
    PSID user = nullptr;
    BOOL is_default = FALSE;
    if (::GetSecurityDescriptorOwner(security, &user, &is_default) == FALSE || user == nullptr)
        return "its owner cannot be read";
    if (!may_write(user, owner))
        return "it belongs to " + name_of(user) +
               (owner == ADMINISTRATOR ? ", not to the administrators" : ", not to the user");
    if (!have_others(what == Guarded::file ? WRITING : TAKING_AWAY, security, owner))
        return std::nullopt;
    return what == Guarded::file ? "others than its owner can write it"
                                 : "others than its owner can remove files from it";
}

UserId own_user() noexcept
{
    return OWN_USER;
}

std::optional<std::string> fault_of_ownership(int descriptor, UserId owner)
{
    return fault_of(reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)), windows::Guarded::file, owner);
}

std::optional<std::string> fault_of_folder(const std::string& file, UserId owner)
{
    const std::string folder = file.substr(0, file.find_last_of("\\/"));
    const windows::Handle handle{::CreateFileW(windows::wide_path(folder).c_str(), READ_CONTROL,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)};
    if (!handle.is_open())
        return std::nullopt; // whatever is wrong with it is wrong with the file, too
    return fault_of(handle.get(), windows::Guarded::folder, owner);
}

} // namespace kvn::system
