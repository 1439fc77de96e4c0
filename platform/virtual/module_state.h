// SPDX-License-Identifier: Apache-2.0
// What a module holds, as a record that outlives the process.
#ifndef MWVIRTUAL_MODULE_STATE_H
#define MWVIRTUAL_MODULE_STATE_H

#include "module_name.h"
#include "virtual_carrier.h"

#include <optional>
#include <string>
#include <string_view>

namespace mwvirtual
{

/// What the FPGA of a module holds.
enum class Holding {
    nothing, ///< no load since the power was switched on
    part,    ///< part of the data of a load: it is under way, or was not ended
    refused, ///< all data of a load, but it does not run
    running,
};

/// "empty", "part of its data", "refused", "running"
[[nodiscard]] std::string_view name_of(Holding holding);

/// A message that a process has begun and not ended.
struct BegunMessage {
    BoardName bus;
    std::uint64_t process = 0;
    friend bool operator==(const BegunMessage&, const BegunMessage&) = default;
};

struct ModuleState {
    ModuleName name;
    std::string device; ///< of the module in the slot; another one begins empty
    Holding holding = Holding::nothing;
    std::uint64_t loads = 0;        ///< including one that was not ended
    bool compressed = false;        ///< the last load's command was that of a compressed one
    std::uint64_t bytes = 0;        ///< plain configuration bytes of the last load, so far
    std::string digest;             ///< of these bytes; empty until the load has ended
    std::optional<Verdict> verdict; ///< of a load that has ended
    std::string reason;             ///< the verdict in words
    std::optional<BegunMessage> message;
    friend bool operator==(const ModuleState&, const ModuleState&) = default;
};

/// One line of JSON, with a line feed.
[[nodiscard]] std::string state_text(const ModuleState& state);

/// @return nothing for a text that state_text does not write; members that it does not know are ignored
[[nodiscard]] std::optional<ModuleState> state_of(std::string_view text);

} // namespace mwvirtual

#endif
