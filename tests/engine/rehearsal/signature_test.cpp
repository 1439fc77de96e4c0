// SPDX-License-Identifier: Apache-2.0
// Signatures, made and verified by the programs that users have.
#include "run/signature.h"

#include "errors/failure.h"
#include "support/folder_test.h"
#include "support/process.h"

#include <gmock/gmock.h>

namespace
{
using kvn::Approval;
using kvn::ExitStatus;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* TEXT = "a manifest\n";

class Signature : public FolderTest
{
protected:
    void do_run(const std::string& program, std::vector<std::string> arguments) const
    {
        const Outcome outcome = ::run({program, std::move(arguments), folder, {}});
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
    }
    void make_ssh_key(const std::string& name) const
    {
        do_run("ssh-keygen", {"-q", "-t", "ed25519", "-N", "", "-C", name, "-f", name});
    }
    void sign_by_ssh(const std::string& key, const std::string& purpose = "kvn-manifest") const
    {
        write("manifest", TEXT);
        do_run("ssh-keygen", {"-q", "-Y", "sign", "-n", purpose, "-f", key, "manifest"});
    }
    /// A keyring "signers" with a key, and "manifest.asc" and "manifest.gpg" signed by it.
    void sign_by_gpg(const std::string& expires = "0") const
    {
        write("manifest", TEXT);
        std::filesystem::create_directory(folder / "gpg");
        std::filesystem::permissions(folder / "gpg", std::filesystem::perms::owner_all);
        const std::vector<std::string> common{"--homedir", path("gpg"), "--batch", "--quiet", "--no-tty"};
        const auto gpg = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), common.begin(), common.end());
            do_run("gpg", std::move(arguments));
        };
        gpg({"--faked-system-time", "20260101T000000", "--passphrase", "", "--quick-gen-key",
             "Ann Approver <ann@example.com>", "ed25519", "sign", expires});
        gpg({"--output", "signers", "--export"});
        gpg({"--faked-system-time", "20260102T000000", "--output", "manifest.gpg", "--detach-sign",
             "manifest"});
        gpg({"--faked-system-time", "20260102T000000", "--armor", "--output", "manifest.asc", "--detach-sign",
             "manifest"});
        do_run("gpgconf", {"--homedir", path("gpg"), "--kill", "all"});
    }
    void allow(const std::string& principal, const std::string& key) const
    {
        write("signers", principal + " " + content(key + ".pub"));
    }
    [[nodiscard]] Approval verify(const std::string& signature, std::string_view text = TEXT) const
    {
        return kvn::verify_signature(text, {.signature = path(signature), .signers = path("signers")},
                                     verifiers);
    }
    /// Why a signature is not accepted.
    [[nodiscard]] kvn::Failure refusal(const std::string& signature, std::string_view text = TEXT) const
    {
        try {
            const Approval approval = verify(signature, text);
            ADD_FAILURE() << "accepted as by " << approval.signer;
            return {};
        } catch (const kvn::FailureError& error) {
            return error.failure();
        }
    }

    kvn::Verifiers verifiers;
};

TEST_F(Signature, OfAnAllowedSignerNamesSignerAndKey)
{
    make_ssh_key("ann");
    sign_by_ssh("ann");
    allow("ann@example.com", "ann");
    const Approval approval = verify("manifest.sig");
    EXPECT_EQ(approval.signer, "ann@example.com");
    EXPECT_THAT(approval.key, MatchesRegex("ED25519 SHA256:[A-Za-z0-9+/]+"));
}

TEST_F(Signature, OfAChangedTextIsRefused)
{
    make_ssh_key("ann");
    sign_by_ssh("ann");
    allow("ann@example.com", "ann");
    const kvn::Failure failure = refusal("manifest.sig", "a manifest\nand more\n");
    EXPECT_EQ(failure.status, ExitStatus::rehearsal);
    EXPECT_EQ(failure.what,
              path("manifest.sig") + " is no good signature by one of the signers in " + path("signers"));
    EXPECT_EQ(failure.why, "Signature verification failed: incorrect signature");
}

TEST_F(Signature, OfAnotherKeyIsRefused)
{
    make_ssh_key("ann");
    make_ssh_key("eve");
    sign_by_ssh("eve");
    allow("ann@example.com", "ann");
    const kvn::Failure failure = refusal("manifest.sig");
    EXPECT_EQ(failure.status, ExitStatus::rehearsal);
    EXPECT_THAT(failure.why, StartsWith("its key is none of theirs: "));
}

TEST_F(Signature, MadeForAnotherPurposeIsRefused)
{
    make_ssh_key("ann");
    sign_by_ssh("ann", "file");
    allow("ann@example.com", "ann");
    EXPECT_EQ(refusal("manifest.sig").status, ExitStatus::rehearsal);
}

TEST_F(Signature, ByAKeyOfAPatternNamesNobodyAndIsRefused)
{
    make_ssh_key("ann");
    sign_by_ssh("ann");
    allow("*@example.com", "ann");
    EXPECT_EQ(refusal("manifest.sig").why, "its key belongs to a pattern, not to a name");
    allow("*@example.com,ann@example.com", "ann");
    EXPECT_EQ(verify("manifest.sig").signer, "ann@example.com");
}

TEST_F(Signature, OfOpenPgpNamesUserAndFingerprint)
{
    sign_by_gpg();
    for (const char* signature : {"manifest.asc", "manifest.gpg"}) {
        const Approval approval = verify(signature);
        EXPECT_EQ(approval.signer, "Ann Approver <ann@example.com>");
        EXPECT_THAT(approval.key, MatchesRegex("[0-9A-F]+"));
        EXPECT_EQ(approval.key.size(), 40U);
        EXPECT_EQ(refusal(signature, "another text\n").status, ExitStatus::rehearsal);
    }
}

TEST_F(Signature, OfOpenPgpByAnUnknownOrExpiredKeyIsRefused)
{
    sign_by_gpg("10d");
    EXPECT_EQ(refusal("manifest.asc").status, ExitStatus::rehearsal);
    write("signers", "");
    EXPECT_EQ(refusal("manifest.asc").status, ExitStatus::rehearsal);
}

TEST_F(Signature, OfNeitherKindIsAMistakeOfTheUser)
{
    write("signers", "");
    for (const char* content : {"", "text", "-----BEGIN CERTIFICATE-----\n"}) {
        write("manifest.sig", content);
        EXPECT_EQ(refusal("manifest.sig").status, ExitStatus::usage) << content;
    }
    EXPECT_EQ(refusal("manifest.sig").what, path("manifest.sig") + " is no signature");
    for (const char* content :
         {"-----BEGIN SSH SIGNATURE-----\n", "-----BEGIN PGP SIGNATURE-----\n", "\x88\xff"}) {
        write("manifest.sig", content);
        EXPECT_EQ(refusal("manifest.sig").status, ExitStatus::rehearsal) << content;
    }
}

TEST_F(Signature, WithoutItsFilesIsAnErrorOfFiles)
{
    write("signers", "");
    EXPECT_EQ(refusal("missing.sig").status, ExitStatus::file);
    EXPECT_THAT(refusal("missing.sig").what,
                StartsWith(path("missing.sig") + ": the signature cannot be read: "));
    write("manifest.sig", "-----BEGIN SSH SIGNATURE-----\n");
    std::filesystem::remove(folder / "signers");
    EXPECT_THAT(refusal("manifest.sig").what,
                StartsWith(path("signers") + ": the file of the signers cannot be read: "));
}

TEST_F(Signature, IsVerifiedByNoOtherProgramThanThatOfTheSystem)
{
    make_ssh_key("ann");
    sign_by_ssh("ann");
    write("signers", "");
    verifiers.folders = {path("bin")};
    const kvn::Failure missing = refusal("manifest.sig");
    EXPECT_EQ(missing.status, ExitStatus::file);
    EXPECT_EQ(missing.what, "the signature cannot be verified: there is no ssh-keygen");
    EXPECT_EQ(missing.remedy, "install the package openssh-client");

    std::filesystem::create_directory(folder / "bin");
    write("bin/ssh-keygen", "#!/bin/sh\nexec sleep 1000\n");
    std::filesystem::permissions(folder / "bin/ssh-keygen", std::filesystem::perms::owner_all);
    verifiers.timeout = std::chrono::milliseconds{50};
    EXPECT_EQ(refusal("manifest.sig").what, "the signature cannot be verified: ssh-keygen takes too long");
    write("bin/ssh-keygen", "no program");
    EXPECT_THAT(refusal("manifest.sig").what,
                HasSubstr("the signature cannot be verified: ssh-keygen cannot be run: "));
}
} // namespace
