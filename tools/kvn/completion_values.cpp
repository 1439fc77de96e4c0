// SPDX-License-Identifier: Apache-2.0
// What options and arguments take: boards and modules of a rack, error numbers, devices, providers.
#include "completion.h"
#include "devices.h"
#include "errors/catalogue.h"
#include "module/module_name.h"
#include "virtual/rack_reader.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace kvn
{
namespace
{

/// The boards that are simulated; none where the provider is another, or the description has a mistake.
std::vector<mwvirtual::BoardSummary> virtual_boards(const ProviderOptions& given)
{
    if (provider_name(given) != "virtual")
        return {};
    const char* variable = std::getenv("MWVIRTUAL_RACK"); // NOLINT(concurrency-mt-unsafe): the only thread
    const std::string file = given.rack.empty() && variable != nullptr ? variable : given.rack;
    try {
        // A folder for kept files must be named where modules keep them; reading writes nothing.
        const auto rack = file.empty() ? mwvirtual::read_rack(mwvirtual::builtin_rack_text(), "", ".")
                                       : mwvirtual::read_rack_file(file, ".");
        return rack->boards();
    } catch (const std::exception&) {
        return {};
    }
}

BoardName name_of(const mwvirtual::BoardName& board)
{
    return {board.type, board.number};
}

Completion boards(const ProviderOptions& given)
{
    Completion found;
    for (const auto& board : virtual_boards(given)) {
        const bool is_new_type = std::ranges::none_of(
            found.words, [&](const Candidate& candidate) { return candidate.word == board.name.type; });
        if (is_new_type)
            found.words.push_back({board.name.type, "all boards of this type"});
        found.words.push_back({to_text(name_of(board.name)), "a board"});
    }
    return found;
}

Completion modules(const ProviderOptions& given)
{
    Completion found;
    for (const auto& board : virtual_boards(given))
        for (unsigned slot = 1; slot <= mwvirtual::SLOTS; ++slot) {
            const std::string& device = board.devices[slot - 1];
            if (device.empty())
                continue;
            found.words.push_back({to_text(ModuleName{name_of(board.name), std::nullopt, slot}), device});
            for (const auto& bus : board.reached_over)
                found.words.push_back({to_text(ModuleName{name_of(bus), board.name.number, slot}), device});
        }
    return found;
}

Completion boards_and_modules(const ProviderOptions& given)
{
    Completion found = boards(given);
    const Completion more = modules(given);
    found.words.insert(found.words.end(), more.words.begin(), more.words.end());
    return found;
}

Completion error_numbers(const ProviderOptions& /*given*/)
{
    Completion found;
    for (const ErrorSection& section : error_sections())
        for (const ErrorEntry& entry : section.entries)
            found.words.push_back({std::to_string(entry.number), plain_text(entry.meaning)});
    return found;
}

/// Names of devices without package and speed grade, which follow in a full name.
Completion devices(const ProviderOptions& /*given*/)
{
    Completion found;
    for (const fpga::Device& device : fpga::devices())
        found.words.push_back({std::string{device.name}, std::string{fpga::family_name(device.family)}});
    return found;
}

Completion providers(const ProviderOptions& /*given*/)
{
    return {{{"virtual", "simulated boards"}, {"replay:", "a recording"}}, true};
}

Completion nothing(const ProviderOptions& /*given*/)
{
    return {};
}

struct Values {
    std::string_view name;
    Completion (*candidates)(const ProviderOptions& given);
};

/// Any other takes files.
constexpr std::array VALUES{
    Values{"board", boards_and_modules},
    Values{"boards", boards},
    Values{"module", modules},
    Values{"number", error_numbers},
    Values{"device", devices},
    Values{"part", devices},
    Values{"provider", providers},
    Values{"serial", nothing},
    Values{"operator", nothing},
    Values{"station", nothing},
    Values{"bytes-per-second", nothing},
    Values{"jobs", nothing},
    Values{"retries", nothing},
    Values{"module-timeout", nothing},
    Values{"head", nothing},
    Values{"via", nothing},
};

} // namespace

Completion values_of(std::string_view name, const ProviderOptions& given)
{
    const auto* found = std::ranges::find(VALUES, name, &Values::name);
    if (found == VALUES.end())
        return {{}, true};
    return found->candidates(given);
}

} // namespace kvn
