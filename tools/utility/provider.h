// The library that the utility's platform calls go to.
#ifndef KVN_FPGA_UTILITY_PROVIDER_H
#define KVN_FPGA_UTILITY_PROVIDER_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

/// What the library asks of its host: the one list of the names.
constexpr std::array function_names = {
    "MwOpenS",
    "MwClose",
    "MwErr2Text",
    "MwGetBoardInfo",
    "MwGetDeviceInfo",
    "MwInitIoStatus",
    "MwKSBSendMessage",
    "MwKSBReceiveMessage",
    "MwKSBSendMessageEx",
    "MwKSBReceiveMessageEx",
    "MwKSBStartSendMessageEx",
    "MwKSBSendMessageDataEx",
    "MwKSBEndOfSendMessageEx",
    "MwKSBStartReceiveMessageEx",
    "MwKSBReceiveMessageDataEx",
    "MwKSBEndOfReceiveMessageEx",
};

/// The place of a function in the list; another name does not compile.
consteval std::size_t place_of(std::string_view name)
{
    for (std::size_t place = 0; place < function_names.size(); ++place)
        if (name == function_names[place])
            return place;
    throw "no function of the platform has this name";
}

struct Provider {
    /// In the order of the names; all there, unless there is a problem.
    std::array<void*, function_names.size()> functions{};
    /// Why there is no provider, and what to do; empty when there is one.
    std::string problem;
};

/// Loads the provider that the environment variable KVN_MWAPI asks for. It stays loaded: its functions may be
/// called until the process ends.
Provider choose_provider();

#endif
