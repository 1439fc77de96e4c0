// SPDX-License-Identifier: Apache-2.0
// Which provider a command uses.
#include "provider_options.h"

#include "commands.h"
#include "streams.h"
#include "system/command_words.h"
#include "system/environment.h"

#include <cstdlib>

namespace kvn
{
namespace
{

constexpr const char* VIRTUAL = "virtual";

} // namespace

void add_provider_options(CLI::App& command, ProviderOptions& options)
{
    add_option(command, "--provider", options.provider,
               "The library with the Mw... functions, virtual, or replay:FILE; default: KVN_MWAPI");
    add_option(command, "--rack", options.rack,
               "The TOML file that describes the virtual boards; default: MWVIRTUAL_RACK");
}

// A rack is one of virtual carriers: who names it asks for them.
std::string provider_name(const ProviderOptions& options)
{
    if (!options.provider.empty())
        return options.provider;
    const char* wish = std::getenv("KVN_MWAPI"); // NOLINT(concurrency-mt-unsafe): the only thread
    if (wish != nullptr && *wish != '\0')
        return wish;
    return options.rack.empty() ? "" : VIRTUAL;
}

std::string as_words(const ProviderOptions& options)
{
    std::string words;
    if (!options.provider.empty())
        words += " --provider " + system::command_word(options.provider);
    if (!options.rack.empty())
        words += " --rack " + system::command_word(options.rack);
    return words;
}

std::vector<std::string> worker_words(const ProviderOptions& options)
{
    std::vector<std::string> words{"worker"};
    if (!options.provider.empty())
        words.insert(words.end(), {"--provider", options.provider});
    if (!options.rack.empty())
        words.insert(words.end(), {"--rack", options.rack});
    return words;
}

std::shared_ptr<Provider> open_provider_silently(const ProviderOptions& options)
{
    if (!options.rack.empty())
        system::set_variable("MWVIRTUAL_RACK", options.rack.c_str());
    return Provider::open(provider_name(options), reinterpret_cast<const void*>(&open_provider));
}

void announce(const ProviderIdentity& provider)
{
    if (!provider.announcement.empty())
        tell("provider " + provider.name + ": " + provider.announcement);
}

std::shared_ptr<Provider> open_provider(const ProviderOptions& options)
{
    auto provider = open_provider_silently(options);
    announce(provider->identity());
    return provider;
}

} // namespace kvn
