// SPDX-License-Identifier: Apache-2.0
// What the administrator of a host demands of every run.
#include "run/policy.h"

#include "config/table_reader.h"
#include "errors/failure.h"
#include "file/text_file.h"
#include "system/file.h"
#include "system/path_text.h"

#include <cerrno>
#include <filesystem>

namespace kvn
{
namespace
{

constexpr std::size_t LONGEST_PATH = 4095;
constexpr const char* ASK_THE_ADMINISTRATOR =
    "ask the administrator of this host; docs/approved-files.md says what a policy must be like";

[[noreturn]] void no_policy(const std::string& what)
{
    throw FailureError{{.status = ExitStatus::usage, .what = what, .remedy = ASK_THE_ADMINISTRATOR}};
}

bool is_missing(const std::string& path)
{
    return system::kind_of_name(path) == system::FileKind::none && errno == ENOENT;
}

/// A file that nobody but its owner can have written.
std::string read_owned(const std::string& path, const char* what, system::UserId owner)
{
    try {
        return read_text_file(path, {.what = what, .owner = owner});
    } catch (const FailureError& error) {
        no_policy(error.what());
    }
}

Policy parse(const std::string& text, const std::string& file)
{
    Policy policy{.file = file};
    try {
        const config::Document document{text, file};
        const config::TableReader top = document.top("a policy");
        top.allow({"require_manifest", "signers"});
        policy.require_manifest = top.boolean_or("require_manifest", false);
        if (const toml::node* node = top.find("signers")) {
            policy.signers = top.text("signers", LONGEST_PATH);
            if (!system::path_of(*policy.signers).is_absolute())
                top.mistake(*node, "\"signers\" must be an absolute path");
        }
    } catch (const config::Mistake& mistake) {
        no_policy(mistake.what());
    }
    return policy;
}

[[noreturn]] void misused(const std::string& what, const std::string& remedy)
{
    throw FailureError{{.status = ExitStatus::usage, .what = what, .remedy = remedy}};
}

/// The signers who count, if any.
std::string signers_of(const ApprovalFiles& files, const Policy& policy)
{
    if (policy.signers && !files.signers.empty())
        misused("the signers are those that " + policy.file + " names: " + *policy.signers,
                "leave out --signers");
    return policy.signers.value_or(files.signers);
}

void require_sense(const ApprovalFiles& files, const std::string& signers)
{
    if (files.manifest.empty() && !files.signature.empty())
        misused("a signature is named, and no manifest", "name the manifest by --manifest");
    if (files.manifest.empty() && !files.signers.empty())
        misused("signers are named, and no manifest", "name the manifest by --manifest");
    if (!files.signature.empty() && signers.empty())
        misused("a signature is named, and nobody who may sign", "name the signers by --signers");
    if (files.signature.empty() && !files.signers.empty())
        misused("signers are named, and no signature", "name the signature by --signature");
}

} // namespace

Policy read_policy(const PolicyPlace& place)
{
    if (const auto fault = system::fault_of_folder(place.file, place.owner))
        no_policy(place.file + ": the folder of the policy cannot be trusted: " + *fault);
    if (is_missing(place.file))
        return {.file = place.file};
    Policy policy = parse(read_owned(place.file, "policy", place.owner), place.file);
    if (policy.signers)
        (void)read_owned(*policy.signers, "file of the signers", place.owner);
    return policy;
}

void require_no_demanding_policy(const std::string& command)
{
    const Policy policy = read_policy();
    if (policy.require_manifest)
        throw FailureError{{.status = ExitStatus::rehearsal,
                            .what = policy.file + " demands a manifest, which " + command + " does not take",
                            .remedy = "load by kvn run, with --manifest"}};
}

std::optional<Approved> read_approval(const ApprovalFiles& files, const Policy& policy,
                                      const Verifiers& verifiers)
{
    const std::string signers = signers_of(files, policy);
    require_sense(files, signers);
    if (files.manifest.empty())
        return std::nullopt;
    if (policy.signers && files.signature.empty())
        throw FailureError{{.status = ExitStatus::rehearsal,
                            .what = policy.file + " demands a signed manifest, and no signature is named",
                            .remedy = "name the signature by --signature"}};
    const std::string text =
        read_text_file(files.manifest, {.what = "manifest",
                                        .remedy = "name a manifest, as sha256sum writes it",
                                        .largest = LARGEST_MANIFEST});
    std::optional<Approval> by;
    if (!files.signature.empty())
        by = verify_signature(text, {.signature = files.signature, .signers = signers}, verifiers);
    return Approved{.manifest = Manifest::parse(text, files.manifest), .by = std::move(by)};
}

} // namespace kvn
