// SPDX-License-Identifier: Apache-2.0
// Who has signed a text: asked of ssh-keygen or gpgv.
#include "run/signature.h"

#include "errors/failure.h"
#include "file/text_file.h"

#include <algorithm>
#include <optional>
#include <system_error>

namespace kvn
{
namespace
{

constexpr std::string_view SSH_HEAD = "-----BEGIN SSH SIGNATURE-----";
constexpr std::string_view OPENPGP_HEAD = "-----BEGIN PGP SIGNATURE-----";
constexpr unsigned char PACKET_TAG = 0x80; ///< set in the first byte of every OpenPGP packet

/// A text, and what is asked about it.
struct Question {
    std::string_view text;
    const SignatureFiles& files;
    std::string signature; ///< content
    std::string signers;   ///< content
    const Verifiers& verifiers;
};

struct Package {
    const char* program;
    const char* name; ///< of the package that brings it
};
constexpr Package ssh_keygen{"ssh-keygen", "openssh-client"};
constexpr Package gpgv{"gpgv", "gpgv"};

std::string path_of(const Package& package, const Verifiers& verifiers)
{
    if (auto path = system::find_program(verifiers.folders, package.program))
        return *std::move(path);
    throw FailureError{
        {.status = ExitStatus::file,
         .what = std::string{"the signature cannot be verified: there is no "} + package.program,
         .remedy = std::string{"install the package "} + package.name}};
}

[[noreturn]] void cannot_run(const Package& package, const std::string& why)
{
    throw FailureError{
        {.status = ExitStatus::file,
         .what = std::string{"the signature cannot be verified: "} + package.program + " " + why,
         .remedy = std::string{"run "} + package.program + " by hand, and see what it says"}};
}

/// The first line, with which both programs say what matters.
std::string first_line(const std::string& text)
{
    return text.substr(0, text.find_first_of("\r\n"));
}

[[noreturn]] void refuse(const Question& question, const std::string& why)
{
    throw FailureError{{.status = ExitStatus::rehearsal,
                        .what = question.files.signature + " is no good signature by one of the signers in " +
                                question.files.signers,
                        .why = why,
                        .remedy = "have the manifest signed again, as it is, by a signer who may approve"}};
}

system::ProgramOutcome ask(const Package& package, const Question& question,
                           std::vector<std::string> arguments)
{
    try {
        system::ProgramOutcome outcome = system::run_program({.program = path_of(package, question.verifiers),
                                                              .arguments = std::move(arguments),
                                                              .input = question.text,
                                                              .files = {question.signature, question.signers},
                                                              .timeout = question.verifiers.timeout});
        if (outcome.timed_out)
            cannot_run(package, "takes too long");
        return outcome;
    } catch (const std::system_error& error) {
        cannot_run(package, std::string{"cannot be run: "} + error.code().message());
    }
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        lines.emplace_back(line);
    }
    return lines;
}

/// Patterns stand for many names; the signature itself does not say which of them has signed.
bool is_name(const std::string& principal)
{
    return !principal.empty() && principal.find_first_of("*?!") == std::string::npos;
}

/// "ED25519 SHA256:..." of: Good "kvn-manifest" signature for NAME with ED25519 key SHA256:...
std::string key_in(const std::string& line)
{
    constexpr std::string_view with = " with ";
    constexpr std::string_view key = " key ";
    const std::size_t begin = line.rfind(with);
    if (begin == std::string::npos)
        return {};
    std::string words = line.substr(begin + with.size());
    if (const std::size_t found = words.find(key); found != std::string::npos)
        words.erase(found, key.size() - 1);
    return words;
}

Approval verify_ssh(const Question& question)
{
    const std::string signature = system::further_file(0);
    const std::string signers = system::further_file(1);
    const system::ProgramOutcome found =
        ask(ssh_keygen, question, {"-Y", "find-principals", "-s", signature, "-f", signers});
    if (found.status != 0)
        refuse(question, "its key is none of theirs: " + first_line(found.errors));
    std::string why = "its key belongs to a pattern, not to a name";
    for (const std::string& principal : lines_of(found.output)) {
        if (!is_name(principal))
            continue;
        const system::ProgramOutcome verified =
            ask(ssh_keygen, question,
                {"-Y", "verify", "-f", signers, "-I", principal, "-n", SIGNATURE_NAMESPACE, "-s", signature});
        if (verified.status == 0)
            return {principal, key_in(first_line(verified.output))};
        why = first_line(verified.errors.empty() ? verified.output : verified.errors);
    }
    refuse(question, why);
}

/// What follows a keyword in the status lines of gpgv; null without such a line.
std::optional<std::string> status_of(const std::vector<std::string>& lines, std::string_view keyword)
{
    const std::string head = "[GNUPG:] " + std::string{keyword} + " ";
    const auto line =
        std::ranges::find_if(lines, [&](const std::string& each) { return each.starts_with(head); });
    return line == lines.end() ? std::nullopt : std::optional{line->substr(head.size())};
}

/// Keys and signatures that have expired or were revoked are none that approve.
Approval verify_openpgp(const Question& question)
{
    const system::ProgramOutcome outcome =
        ask(gpgv, question,
            {"--status-fd", "1", "--keyring", system::further_file(1), system::further_file(0), "-"});
    const std::vector<std::string> lines = lines_of(outcome.output);
    const auto good = status_of(lines, "GOODSIG");
    const auto valid = status_of(lines, "VALIDSIG");
    constexpr const char* objections[] = {"BADSIG", "ERRSIG", "EXPSIG", "EXPKEYSIG", "REVKEYSIG", "NODATA"};
    const bool is_objected =
        std::ranges::any_of(objections, [&](const char* word) { return status_of(lines, word).has_value(); });
    if (outcome.status != 0 || !good || !valid || is_objected) {
        std::vector<std::string> words = lines_of(outcome.errors);
        refuse(question, words.empty() ? "gpgv does not say why" : words.back());
    }
    return {good->substr(std::min(good->find(' '), good->size() - 1) + 1),
            valid->substr(0, valid->find(' '))};
}

bool is_openpgp(const std::string& signature)
{
    return signature.starts_with(OPENPGP_HEAD) ||
           (!signature.empty() && (static_cast<unsigned char>(signature.front()) & PACKET_TAG) != 0);
}

} // namespace

Approval verify_signature(std::string_view text, const SignatureFiles& files, const Verifiers& verifiers)
{
    const Question question{
        .text = text,
        .files = files,
        .signature = read_text_file(files.signature, {.what = "signature", .remedy = "name a signature"}),
        .signers = read_text_file(files.signers, {.what = "file of the signers",
                                                  .remedy = "name a file of allowed signers or a keyring"}),
        .verifiers = verifiers};
    if (question.signature.starts_with(SSH_HEAD))
        return verify_ssh(question);
    if (is_openpgp(question.signature))
        return verify_openpgp(question);
    throw FailureError{{.status = ExitStatus::usage,
                        .what = files.signature + " is no signature",
                        .why = "it is neither one of ssh-keygen nor an OpenPGP one",
                        .remedy = std::string{"ssh-keygen -Y sign -n "} + SIGNATURE_NAMESPACE +
                                  " -f KEY MANIFEST writes MANIFEST.sig"}};
}

} // namespace kvn
