// SPDX-License-Identifier: Apache-2.0
// The names of boards and modules.
#ifndef MWVIRTUAL_MODULE_NAME_H
#define MWVIRTUAL_MODULE_NAME_H

#include <compare>
#include <cstdint>
#include <string>

namespace mwvirtual
{

struct BoardName {
    std::string type;
    std::uint16_t number = 0;
    friend auto operator<=>(const BoardName&, const BoardName&) = default;

    /// "mwc4a:0"
    [[nodiscard]] std::string text() const { return type + ':' + std::to_string(number); }
};

/// A module, named by its board and slot.
struct ModuleName {
    BoardName board;
    unsigned slot = 1; ///< 1 to 4
    friend auto operator<=>(const ModuleName&, const ModuleName&) = default;

    /// "mwc4a:0/2"
    [[nodiscard]] std::string text() const { return board.text() + '/' + std::to_string(slot); }
};

} // namespace mwvirtual

#endif
