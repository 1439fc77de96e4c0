// SPDX-License-Identifier: Apache-2.0
// What the administrator of a host demands of every run.
#ifndef KVN_ENGINE_RUN_POLICY_H
#define KVN_ENGINE_RUN_POLICY_H

#include "run/manifest.h"
#include "run/signature.h"
#include "system/ownership.h"
#include "system/places.h"

#include <optional>
#include <string>

namespace kvn
{

/// Where the policy of the host is.
[[nodiscard]] inline std::string policy_file()
{
    return system::administrators_file("kvn.toml");
}

struct Policy {
    std::string file = policy_file();
    bool require_manifest = false;
    /// The manifest must be signed by one of these (SignatureFiles::signers); no other signers are accepted.
    std::optional<std::string> signers = {};
};

/// Where the policy is. The program uses the default; tests set their own.
struct PolicyPlace {
    std::string file = policy_file();
    system::UserId owner = system::ADMINISTRATOR; ///< who must own it
};

/// Reads the policy of the host. No file is a policy that demands nothing.
/// @throws FailureError (ExitStatus::usage) when there is a policy that cannot be read, belongs to another
///         user, can be written by others, or has a mistake; the same for the file of the signers that it
///         names. std::bad_alloc
[[nodiscard]] Policy read_policy(const PolicyPlace& place = {});

/// For what loads without a manifest.
/// @param command that does, for the words: "kvn load"
/// @throws FailureError (ExitStatus::rehearsal) when the policy of the host demands one; and as read_policy()
void require_no_demanding_policy(const std::string& command);

/// The files about approval that a user names; empty: none.
struct ApprovalFiles {
    std::string manifest = {};
    std::string signature = {};
    std::string signers = {};
};

/// A manifest, and who has signed it.
struct Approved {
    Manifest manifest;
    std::optional<Approval> by = {}; ///< null: it was not signed
};

/// Reads the manifest, once, and verifies the signature of the bytes that were read.
/// @return null when no manifest is named
/// @throws FailureError: ExitStatus::usage for a signature without manifest or signers, for signers where the
///         policy names its own, and as Manifest::parse(); ExitStatus::file for a file that cannot be read;
///         ExitStatus::rehearsal when the policy names signers and no signature is given; and as
///         verify_signature(). std::bad_alloc
[[nodiscard]] std::optional<Approved> read_approval(const ApprovalFiles& files, const Policy& policy,
                                                    const Verifiers& verifiers = {});

} // namespace kvn

#endif
