// SPDX-License-Identifier: Apache-2.0
// What the modules of a state folder hold, for people and for programs.
#ifndef KVN_TOOLS_RACK_RACK_VIEW_H
#define KVN_TOOLS_RACK_RACK_VIEW_H

#include "state_store.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace rack
{

struct ModuleView {
    mwvirtual::ModuleState state;
    bool is_receiving = false; ///< the process that has begun its message lives
};

struct RackView {
    std::vector<ModuleView> modules;   ///< in the order of board, number and slot
    std::vector<std::string> problems; ///< modules whose files are damaged, and why
};

/// Looks at all modules, and compares the configuration of each with its digest. Throws mwvirtual::StateError
/// if the folder cannot be read.
[[nodiscard]] RackView view_of(const mwvirtual::StateStore& store);

/// A table, and the open messages of each bus.
void print(std::ostream& out, const RackView& view);

/// The same as JSON. The caller adds the exit status.
[[nodiscard]] nlohmann::ordered_json json_of(const RackView& view);

/// A text as it may be shown on a terminal: control characters become escapes.
[[nodiscard]] std::string printable(std::string_view text);

} // namespace rack

#endif
