// SPDX-License-Identifier: Apache-2.0
// How boards and modules are named: "mwc4a:0", "mwc4a:0/2", "mwc4a:0/1.2".
#ifndef KVN_ENGINE_MODULE_MODULE_NAME_H
#define KVN_ENGINE_MODULE_MODULE_NAME_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvn
{

/// The longest board type, in characters.
inline constexpr std::size_t LONGEST_BOARD_TYPE = 31;

/// A board whose bus can be opened.
struct BoardName {
    /// Such as "mwc4a": 1 to LONGEST_BOARD_TYPE printable characters, no blank, ':' or '/'.
    std::string type = {};
    unsigned number = 0; ///< 0 to 15

    friend bool operator==(const BoardName&, const BoardName&) = default;
};

/// A slot, and the board over whose bus it is reached.
struct ModuleName {
    BoardName board; ///< the board that is opened
    /// The board that carries the slot, 0 to 15; null: the opened one.
    std::optional<unsigned> target_board = {};
    unsigned slot = 1; ///< 1 to 4

    /// The board that carries the slot.
    [[nodiscard]] unsigned carrier() const { return target_board.value_or(board.number); }
    /// As the library addresses it: slot in the low four bits, carrier in the high four.
    [[nodiscard]] std::uint8_t slot_address() const;

    friend bool operator==(const ModuleName&, const ModuleName&) = default;
};

/// "mwc4a:0"
[[nodiscard]] std::string to_text(const BoardName& board);
/// "mwc4a:0/2", or "mwc4a:0/1.2" for slot 2 of board 1 over the bus of board 0. The target board is written
/// exactly when the name has one.
[[nodiscard]] std::string to_text(const ModuleName& module);

/// The opposite of to_text(). Numbers are decimal, without sign or blanks.
/// @throws FailureError (ExitStatus::usage) that names the text and shows the form
[[nodiscard]] BoardName parse_board_name(std::string_view text);
[[nodiscard]] ModuleName parse_module_name(std::string_view text);

/// For names that were not parsed.
/// @throws FailureError (ExitStatus::usage) when a member is out of its range
void require_valid(const BoardName& board);
void require_valid(const ModuleName& module);

/// The board that the environment names.
struct EnvironmentBoard {
    std::string type = {};
    std::optional<unsigned> number = {}; ///< null: the variable holds the type alone
};

/// What MWAPIKSB, or else MWAPIJTAG, names: "mwc4a 0", or "mwc4a" alone. The values are the caller's to read.
/// A variable that is set but empty takes precedence, as for the library, and names nothing.
/// @param ksb value of MWAPIKSB; null if it is not set
/// @param jtag value of MWAPIJTAG; null if it is not set
/// @return null when they name no board
/// @throws FailureError (ExitStatus::usage) for a value that is no board, such as "mwc4a x"
[[nodiscard]] std::optional<EnvironmentBoard> environment_board(const char* ksb, const char* jtag);

} // namespace kvn

#endif
