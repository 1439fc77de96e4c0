// SPDX-License-Identifier: Apache-2.0
// Owners and rights judged: those that Windows has, written as it writes them.
#include "system/windows/security.h"

#include "support/folder_test.h"
#include "system/descriptor.h"
#include "system/file.h"
#include "system/windows/api.h"

#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include <array>
#include <memory>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using windows::Guarded;

constexpr UserId OWN = 1;
constexpr const char* WRITABLE = "others than its owner can write it";
constexpr const char* REMOVABLE = "others than its owner can remove files from it";

struct LocalMemory {
    void operator()(void* memory) const { (void)::LocalFree(memory); }
};
using Security = std::unique_ptr<void, LocalMemory>;

/// @param text "O:" and the owner, "D:" and the entries of the list of rights
Security security(const std::string& text)
{
    PSECURITY_DESCRIPTOR made = nullptr;
    EXPECT_NE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(text).c_str(), SDDL_REVISION_1,
                                                                     &made, nullptr),
              FALSE)
        << text;
    return Security{made};
}

std::optional<std::string> fault(const std::string& text, UserId owner = ADMINISTRATOR,
                                 Guarded what = Guarded::file)
{
    return windows::fault_in(security(text).get(), what, owner);
}

/// "S-1-5-21-..." of the user of this process.
std::string own_name()
{
    HANDLE token = nullptr;
    EXPECT_NE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token), FALSE);
    const windows::Handle opened{token};
    alignas(TOKEN_USER) std::array<char, 256> facts{};
    DWORD size = facts.size();
    EXPECT_NE(::GetTokenInformation(token, TokenUser, facts.data(), size, &size), FALSE);
    wchar_t* name = nullptr;
    EXPECT_NE(::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(facts.data())->User.Sid, &name),
              FALSE);
    const std::string text = narrow(name);
    (void)::LocalFree(name);
    return text;
}

TEST(Security, OfAFileThatOnlyAdministratorsWriteIsTrusted)
{
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;BA)(A;;FA;;;SY)(A;;0x1200a9;;;BU)"), std::nullopt);
    EXPECT_EQ(fault("O:SYD:(A;;FA;;;SY)"), std::nullopt);
    EXPECT_EQ(fault("O:S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464D:(A;;FA;;;BA)"),
              std::nullopt)
        << "the service that installs Windows";
}

TEST(Security, OfAFileOfSomebodyElseIsNot)
{
    EXPECT_THAT(fault("O:BUD:(A;;FA;;;BA)"),
                testing::Optional(testing::MatchesRegex("it belongs to .+, not to the administrators")));
    EXPECT_THAT(fault("O:S-1-5-80-1-2-3-4-5D:(A;;FA;;;BA)"),
                testing::Optional(std::string{"it belongs to an unknown user, not to the administrators"}));
    EXPECT_THAT(fault("O:BUD:(A;;FA;;;BA)", OWN),
                testing::Optional(testing::MatchesRegex("it belongs to .+, not to the user")));
}

TEST(Security, OfAFileOfTheUserIsTrustedWhereNoAdministratorIsAskedFor)
{
    const std::string user = own_name();
    const std::string text = "O:" + user + "D:(A;;FA;;;" + user + ")(A;;FA;;;BA)";
    EXPECT_EQ(fault(text, OWN), std::nullopt);
    EXPECT_THAT(fault(text),
                testing::Optional(testing::MatchesRegex("it belongs to .+, not to the administrators")));
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;" + user + ")", OWN), std::nullopt);
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;" + user + ")"), WRITABLE);
}

TEST(Security, OfAFileIsLostByEachRightToChangeIt)
{
    // Writing, appending, deleting, the list of rights, the owner, and what stands for several of them.
    for (const char* right : {"0x2", "0x4", "SD", "WD", "WO", "GW", "GA", "FW", "FA"})
        EXPECT_EQ(fault(std::string{"O:BAD:(A;;FA;;;BA)(A;;"} + right + ";;;BU)"), WRITABLE) << right;
    for (const char* right : {"FR", "FX", "GR", "RC", "0x100"})
        EXPECT_EQ(fault(std::string{"O:BAD:(A;;FA;;;BA)(A;;"} + right + ";;;BU)"), std::nullopt) << right;
}

TEST(Security, OfAFolderIsLostByEachRightToTakeFilesOutOfIt)
{
    for (const char* right : {"0x40", "SD", "WD", "WO", "GW", "GA", "FA"})
        EXPECT_EQ(
            fault(std::string{"O:BAD:(A;;FA;;;BA)(A;;"} + right + ";;;BU)", ADMINISTRATOR, Guarded::folder),
            REMOVABLE)
            << right;
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;BA)(A;;0x6;;;BU)", ADMINISTRATOR, Guarded::folder), std::nullopt)
        << "users may add files and folders";
}

TEST(Security, CountsRightsThatOnlyWhatIsMadeLaterGets)
{
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;BA)(A;OICIIO;FA;;;BU)"), std::nullopt) << "for others, not for it";
    EXPECT_EQ(fault("O:BAD:(A;;FA;;;BA)(A;OICI;FA;;;BU)"), WRITABLE);
}

TEST(Security, IsNotRestoredByWhatIsDenied)
{
    EXPECT_EQ(fault("O:BAD:(D;;FW;;;BU)(A;;FR;;;BU)(A;;FA;;;BA)"), std::nullopt);
    EXPECT_EQ(fault("O:BAD:(D;;FW;;;BU)(A;;FW;;;WD)"), WRITABLE);
}

TEST(Security, IsLostByARightWithACondition)
{
    const Security made = security("O:BAD:(A;;FA;;;BA)(A;;FW;;;BU)");
    BOOL is_there = FALSE;
    BOOL is_default = FALSE;
    PACL rights = nullptr;
    ASSERT_NE(::GetSecurityDescriptorDacl(made.get(), &is_there, &rights, &is_default), FALSE);
    void* entry = nullptr;
    ASSERT_NE(::GetAce(rights, 1, &entry), FALSE);
    static_cast<ACE_HEADER*>(entry)->AceType = ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    EXPECT_EQ(windows::fault_in(made.get(), Guarded::file, ADMINISTRATOR), WRITABLE);
}

TEST(Security, WithoutAListOfRightsIsLost)
{
    EXPECT_EQ(fault("O:BA"), WRITABLE);
    EXPECT_EQ(fault("D:(A;;FA;;;BA)"), "its owner cannot be read");
}

using SecurityOfFiles = FolderTest;

TEST_F(SecurityOfFiles, IsReadOfTheFileItself)
{
    write("file", "");
    const Descriptor file{open_to_read(path("file"))};
    EXPECT_EQ(fault_of_ownership(file.number(), OWN), std::nullopt);
    const Security open_to_all = security("D:(A;;FA;;;WD)");
    ASSERT_NE(::SetFileSecurityW(wide(path("file")).c_str(), DACL_SECURITY_INFORMATION, open_to_all.get()),
              FALSE);
    EXPECT_EQ(fault_of_ownership(file.number(), OWN), WRITABLE);
}

TEST_F(SecurityOfFiles, IsThatOfTheFolderTooWhereAPolicyIs)
{
    EXPECT_EQ(fault_of_folder(path("kvn.toml"), OWN), std::nullopt);
    const Security open_to_all = security("D:(A;;FA;;;WD)");
    ASSERT_NE(::SetFileSecurityW(folder.c_str(), DACL_SECURITY_INFORMATION, open_to_all.get()), FALSE);
    EXPECT_EQ(fault_of_folder(path("kvn.toml"), OWN), REMOVABLE) << "there is no such file yet";
}
} // namespace
