// SPDX-License-Identifier: Apache-2.0
// What the administrator of a host demands, and manifests under it.
#include "run/policy.h"

#include "errors/failure.h"
#include "support/folder_test.h"
#include "support/process.h"

#include <unistd.h>

#include <gmock/gmock.h>

namespace
{
using kvn::ApprovalFiles;
using kvn::ExitStatus;
using kvn::Policy;
using std::filesystem::perms;

class PolicyOfHost : public FolderTest
{
protected:
    void set(const std::string& text, perms rights = perms::owner_read | perms::owner_write)
    {
        write("kvn.toml", text);
        std::filesystem::permissions(folder / "kvn.toml", rights);
    }
    [[nodiscard]] Policy policy(uid_t owner = ::geteuid()) const
    {
        return kvn::read_policy({.file = path("kvn.toml"), .owner = owner});
    }
    template <class Read>
    static kvn::Failure failure_of(Read read)
    {
        try {
            (void)read();
            ADD_FAILURE() << "no failure";
            return {};
        } catch (const kvn::FailureError& error) {
            return error.failure();
        }
    }
    /// What is wrong with the policy, which is status 2.
    [[nodiscard]] std::string mistake(uid_t owner = ::geteuid()) const
    {
        const kvn::Failure failure = failure_of([&] { return policy(owner); });
        EXPECT_EQ(failure.status, ExitStatus::usage);
        return failure.what;
    }
};

TEST_F(PolicyOfHost, DemandsNothingWithoutAFile)
{
    EXPECT_EQ(Policy{}.file, "/etc/kvn.toml");
    EXPECT_EQ(kvn::PolicyPlace{}.owner, 0U);
    EXPECT_FALSE(policy().require_manifest);
    EXPECT_FALSE(policy().signers);
    set("");
    EXPECT_FALSE(policy().require_manifest);
}

TEST_F(PolicyOfHost, DemandsAManifestAndItsSigners)
{
    write("signers", "");
    std::filesystem::permissions(folder / "signers", perms::owner_read);
    set("require_manifest = true\nsigners = \"" + path("signers") + "\"\n");
    EXPECT_TRUE(policy().require_manifest);
    EXPECT_EQ(policy().signers, path("signers"));
}

TEST_F(PolicyOfHost, OfAnotherOwnerOrWritableByOthersIsAnErrorAndNotIgnored)
{
    set("require_manifest = true\n");
    EXPECT_EQ(mistake(::geteuid() + 1),
              path("kvn.toml") + ": the policy cannot be read: it belongs to user " +
                  std::to_string(::geteuid()) + ", not to user " + std::to_string(::geteuid() + 1));
    for (const perms rights : {perms::group_write, perms::others_write}) {
        set("require_manifest = true\n", perms::owner_read | rights);
        EXPECT_EQ(mistake(),
                  path("kvn.toml") + ": the policy cannot be read: others than its owner can write it");
    }
}

TEST_F(PolicyOfHost, ThatCannotBeReadIsAnErrorAndNotIgnored)
{
    std::filesystem::create_directory(folder / "kvn.toml");
    EXPECT_EQ(mistake(), path("kvn.toml") + ": the policy cannot be read: it is no regular file");
    std::filesystem::remove(folder / "kvn.toml");
    std::filesystem::create_symlink("nowhere", folder / "kvn.toml");
    EXPECT_EQ(mistake(), path("kvn.toml") + ": the policy cannot be read: No such file or directory")
        << "a link that leads nowhere is no missing policy";
}

TEST_F(PolicyOfHost, WithAMistakeIsAnErrorThatNamesTheLine)
{
    set("require_manifests = true\n");
    EXPECT_EQ(mistake(), path("kvn.toml") + ":1: unknown key \"require_manifests\" in a policy; did you mean "
                                            "\"require_manifest\"?");
    set("\nrequire_manifest = 1\n");
    EXPECT_THAT(mistake(), testing::StartsWith(path("kvn.toml") + ":2: "));
    set("signers = \"approvers\"\n");
    EXPECT_EQ(mistake(), path("kvn.toml") + ":1: \"signers\" must be an absolute path");
    set("require_manifest = \n");
    EXPECT_THAT(mistake(), testing::StartsWith(path("kvn.toml") + ":"));
}

TEST_F(PolicyOfHost, WhoseSignersOthersCanWriteIsAnError)
{
    set("signers = \"" + path("signers") + "\"\n");
    EXPECT_THAT(mistake(),
                testing::StartsWith(path("signers") + ": the file of the signers cannot be read: "));
    write("signers", "");
    std::filesystem::permissions(folder / "signers", perms::owner_read | perms::others_write);
    EXPECT_EQ(mistake(), path("signers") +
                             ": the file of the signers cannot be read: others than its owner can write it");
}

class Approvals : public PolicyOfHost
{
protected:
    void SetUp() override
    {
        write("manifest", std::string(64, 'a') + "  design.bit\n");
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"-q", "-t", "ed25519", "-N", "", "-C", "", "-f", "key"},
              {"-q", "-Y", "sign", "-n", "kvn-manifest", "-f", "key", "manifest"}})
            ASSERT_EQ(::run({"ssh-keygen", arguments, folder, {}}).status, 0);
        write("signers", "ann@example.com " + content("key.pub"));
    }
    [[nodiscard]] std::optional<kvn::Approved> read(const ApprovalFiles& names,
                                                    const Policy& rules = {}) const
    {
        const auto whole = [this](const std::string& name) { return name.empty() ? name : path(name); };
        return kvn::read_approval({whole(names.manifest), whole(names.signature), whole(names.signers)},
                                  rules);
    }
    [[nodiscard]] kvn::Failure refusal(const ApprovalFiles& names, const Policy& rules = {}) const
    {
        return failure_of([&] { return read(names, rules); });
    }
    [[nodiscard]] Policy with_signers() const
    {
        return {.require_manifest = true, .signers = path("signers")};
    }
};

TEST_F(Approvals, AreAManifestAndWhoHasSignedIt)
{
    EXPECT_FALSE(read({}));
    const auto unsigned_one = read({.manifest = "manifest"});
    ASSERT_TRUE(unsigned_one);
    EXPECT_TRUE(unsigned_one->manifest.holds(std::string(64, 'a')));
    EXPECT_FALSE(unsigned_one->by);
    const auto approved = read({.manifest = "manifest", .signature = "manifest.sig", .signers = "signers"});
    ASSERT_TRUE(approved && approved->by);
    EXPECT_EQ(approved->by->signer, "ann@example.com");
}

TEST_F(Approvals, OfAChangedManifestAreRefused)
{
    write("manifest", std::string(64, 'b') + "  design.bit\n");
    EXPECT_EQ(refusal({.manifest = "manifest", .signature = "manifest.sig", .signers = "signers"}).status,
              ExitStatus::rehearsal);
}

TEST_F(Approvals, NeedAllTheirFiles)
{
    const auto mistake = [this](const ApprovalFiles& names) {
        const kvn::Failure failure = refusal(names);
        EXPECT_EQ(failure.status, ExitStatus::usage);
        return failure.what;
    };
    EXPECT_EQ(mistake({.signature = "manifest.sig", .signers = "signers"}),
              "a signature is named, and no manifest");
    EXPECT_EQ(mistake({.signers = "signers"}), "signers are named, and no manifest");
    EXPECT_EQ(mistake({.manifest = "manifest", .signature = "manifest.sig"}),
              "a signature is named, and nobody who may sign");
    EXPECT_EQ(mistake({.manifest = "manifest", .signers = "signers"}), "signers are named, and no signature");
    EXPECT_EQ(refusal({.manifest = "missing"}).status, ExitStatus::file);
}

TEST_F(Approvals, UnderAPolicyWithSignersAreTheirsOnly)
{
    EXPECT_EQ(read({.manifest = "manifest", .signature = "manifest.sig"}, with_signers())->by->signer,
              "ann@example.com");
    EXPECT_FALSE(read({}, with_signers())) << "the rehearsal finds that there is none";
    const kvn::Failure unsigned_one = refusal({.manifest = "manifest"}, with_signers());
    EXPECT_EQ(unsigned_one.status, ExitStatus::rehearsal);
    EXPECT_EQ(unsigned_one.what, "/etc/kvn.toml demands a signed manifest, and no signature is named");
    const kvn::Failure others =
        refusal({.manifest = "manifest", .signature = "manifest.sig", .signers = "own"}, with_signers());
    EXPECT_EQ(others.status, ExitStatus::usage);
    EXPECT_EQ(others.what, "the signers are those that /etc/kvn.toml names: " + path("signers"));
}
} // namespace
