// SPDX-License-Identifier: Apache-2.0
// What may come next on a command line of kvn, found in the tree of its commands and options.
#ifndef KVN_TOOLS_KVN_COMPLETION_H
#define KVN_TOOLS_KVN_COMPLETION_H

#include "provider_options.h"

#include <CLI/CLI.hpp>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

struct Candidate {
    std::string word;
    std::string description; ///< may be empty
};

struct Completion {
    std::vector<Candidate> words; ///< those that begin as the last word does
    bool files = false;           ///< names of files, too
};

/// @param words those after "kvn"; the last is the one to complete, and may be empty
[[nodiscard]] Completion complete(const CLI::App& program, std::span<const std::string> words);

/// What an option or argument of this name takes, but for the words that its check lists.
/// @param name without dashes: "board", "device"
/// @param given the provider, as far as the command line names it: modules are those of its virtual boards,
///        because real ones cannot be found without talking to them
[[nodiscard]] Completion values_of(std::string_view name, const ProviderOptions& given);

/// A script for "bash", "zsh" or "fish" that asks kvn for the candidates.
[[nodiscard]] std::string_view completion_script(std::string_view shell);

} // namespace kvn

#endif
