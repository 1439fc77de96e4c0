// SPDX-License-Identifier: Apache-2.0
// The names of boards and modules.
#ifndef MWVIRTUAL_MODULE_NAME_H
#define MWVIRTUAL_MODULE_NAME_H

#include <cstdint>
#include <string>
#include <tuple>

namespace mwvirtual
{

struct BoardName {
    std::string type;
    std::uint16_t number = 0;
    friend bool operator==(const BoardName&, const BoardName&) = default;
    friend bool operator<(const BoardName& left, const BoardName& right)
    {
        return std::tie(left.type, left.number) < std::tie(right.type, right.number);
    }

    /// "mwc4a:0"
    [[nodiscard]] std::string text() const { return type + ':' + std::to_string(number); }
};

/// A module, named by its board and slot.
struct ModuleName {
    BoardName board;
    unsigned slot = 1; ///< 1 to 4
    friend bool operator==(const ModuleName&, const ModuleName&) = default;
    friend bool operator<(const ModuleName& left, const ModuleName& right)
    {
        return std::tie(left.board, left.slot) < std::tie(right.board, right.slot);
    }

    /// "mwc4a:0/2"
    [[nodiscard]] std::string text() const { return board.text() + '/' + std::to_string(slot); }
};

} // namespace mwvirtual

#endif
