// SPDX-License-Identifier: Apache-2.0
// Whether a file can have been written by anybody but those who may.
#include "system/ownership.h"

#include "system/windows/api.h"

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

/// Owner and rights of an open file.
struct Security {
    std::unique_ptr<void, LocalMemory> memory;
    PSID owner = nullptr;
    PACL rights = nullptr;
};

std::optional<Security> security_of(HANDLE handle)
{
    Security found;
    PSECURITY_DESCRIPTOR memory = nullptr;
    if (::GetSecurityInfo(handle, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                          &found.owner, nullptr, &found.rights, nullptr, &memory) != ERROR_SUCCESS)
        return std::nullopt;
    found.memory.reset(memory);
    return found;
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

/// Whether somebody else has one of the rights.
bool have_others(DWORD wanted, const Security& security, UserId owner)
{
    if (security.rights == nullptr)
        return true; // without a list everybody may do anything
    for (DWORD i = 0; i < security.rights->AceCount; ++i) {
        void* entry = nullptr;
        if (::GetAce(security.rights, i, &entry) == FALSE)
            return true;
        const auto* const head = static_cast<const ACE_HEADER*>(entry);
        if (head->AceType != ACCESS_ALLOWED_ACE_TYPE || (head->AceFlags & INHERIT_ONLY_ACE) != 0)
            continue;
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        if ((allowed->Mask & wanted) != 0 && !may_write(&allowed->SidStart, owner))
            return true;
    }
    return false;
}

std::optional<std::string> fault_in(HANDLE file, DWORD rights, const char* what, UserId owner)
{
    const auto security = security_of(file);
    if (!security || security->owner == nullptr)
        return "its owner cannot be read";
    if (!may_write(security->owner, owner))
        return "it belongs to " + name_of(security->owner) +
               (owner == ADMINISTRATOR ? ", not to the administrators" : ", not to the user");
    if (have_others(rights, *security, owner))
        return what;
    return std::nullopt;
}

} // namespace

UserId own_user() noexcept
{
    return OWN_USER;
}

std::optional<std::string> fault_of_ownership(int descriptor, UserId owner)
{
    return fault_in(reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)), WRITING,
                    "others than its owner can write it", owner);
}

std::optional<std::string> fault_of_folder(const std::string& file, UserId owner)
{
    const std::string folder = file.substr(0, file.find_last_of("\\/"));
    const windows::Handle handle{::CreateFileW(windows::wide_path(folder).c_str(), READ_CONTROL,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)};
    if (!handle.is_open())
        return std::nullopt; // whatever is wrong with it is wrong with the file, too
    return fault_in(handle.get(), TAKING_AWAY, "others than its owner can remove files from it", owner);
}

} // namespace kvn::system
