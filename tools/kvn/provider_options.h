// SPDX-License-Identifier: Apache-2.0
// Which provider a command uses.
#ifndef KVN_TOOLS_KVN_PROVIDER_OPTIONS_H
#define KVN_TOOLS_KVN_PROVIDER_OPTIONS_H

#include "module/provider.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace kvn
{

struct ProviderOptions {
    std::string provider; ///< empty: that of KVN_MWAPI, or the usual one
    std::string rack;     ///< empty: that of MWVIRTUAL_RACK, or the built-in one
};

/// The options --provider and --rack.
void add_provider_options(CLI::App& command, ProviderOptions& options);

/// The provider by the options and the environment; empty: the usual one.
[[nodiscard]] std::string provider_name(const ProviderOptions& options);

/// The same options on a command line that a hint prints, with a blank before each.
[[nodiscard]] std::string as_words(const ProviderOptions& options);

/// The arguments of a worker of kvn with the same options.
[[nodiscard]] std::vector<std::string> worker_words(const ProviderOptions& options);

/// Opens the provider. Its record says if it simulates.
/// @throws FailureError
[[nodiscard]] std::shared_ptr<Provider> open_provider_silently(const ProviderOptions& options);

/// Says on standard error if a provider simulates.
void announce(const ProviderIdentity& provider);

/// Opens the provider and says on standard error if it simulates.
/// @throws FailureError
[[nodiscard]] std::shared_ptr<Provider> open_provider(const ProviderOptions& options);

} // namespace kvn

#endif
