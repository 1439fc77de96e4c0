// SPDX-License-Identifier: Apache-2.0
// Who has signed a text: asked of ssh-keygen or gpgv, which run as programs.
#ifndef KVN_ENGINE_RUN_SIGNATURE_H
#define KVN_ENGINE_RUN_SIGNATURE_H

#include "system/program.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// What signatures of manifests by ssh-keygen are made for: ssh-keygen -Y sign -n kvn-manifest.
inline constexpr const char* SIGNATURE_NAMESPACE = "kvn-manifest";

/// A signature that was verified.
struct Approval {
    std::string signer; ///< the principal of the allowed signers; the user ID of an OpenPGP key
    std::string key;    ///< "ED25519 SHA256:..." ; the fingerprint of an OpenPGP key

    friend bool operator==(const Approval&, const Approval&) = default;
};

struct SignatureFiles {
    /// Detached. An armoured signature of ssh-keygen goes to ssh-keygen; an OpenPGP one, armoured or binary,
    /// to gpgv. Its content decides.
    std::string signature;
    /// Those who may approve: a file of allowed signers (ssh-keygen(1)), or for OpenPGP a keyring as
    /// gpg --export writes it, without --armor.
    std::string signers;
};

/// How the programs are found and how long they may take. Tests set their own.
struct Verifiers {
    /// Absolute; searched in this order. PATH is not: whoever starts a run must not choose who verifies it.
    std::vector<std::string> folders = system::program_folders();
    std::chrono::milliseconds timeout{20'000}; ///< for each program
};

/// Verifies that a text has been signed by one of the signers. The programs get the very bytes of the text,
/// and the bytes of signature and signers that were read once; they run without a shell, in an environment of
/// their own. Blocks until they have ended, at the latest after their time-outs. Thread-safe.
/// @throws FailureError: ExitStatus::rehearsal when the signature is not good, or nobody's who may sign;
///         ExitStatus::usage for a file that is no signature; ExitStatus::file when a file cannot be read, or
///         the program is missing, cannot be run or takes too long. std::bad_alloc.
[[nodiscard]] Approval verify_signature(std::string_view text, const SignatureFiles& files,
                                        const Verifiers& verifiers = {});

} // namespace kvn

#endif
