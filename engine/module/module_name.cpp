// SPDX-License-Identifier: Apache-2.0
// How boards and modules are named.
#include "module/module_name.h"

#include "bus/slot_address.h"
#include "errors/failure.h"

#include <algorithm>
#include <charconv>

namespace kvn
{
namespace
{

constexpr std::string_view BLANKS = " \t";

/// A decimal number without sign or blanks.
std::optional<unsigned> number_in(std::string_view text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<unsigned> board_number_in(std::string_view text)
{
    const auto number = number_in(text);
    return number && is_board(*number) ? number : std::nullopt;
}

bool is_board_type(std::string_view text)
{
    return !text.empty() && text.size() <= LONGEST_BOARD_TYPE &&
           std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7F' && c != ':' && c != '/'; });
}

/// The text before the first mark, and what follows it; null when the mark is missing.
std::optional<std::pair<std::string_view, std::string_view>> divided(std::string_view text, char mark)
{
    const std::size_t place = text.find(mark);
    if (place == std::string_view::npos)
        return std::nullopt;
    return std::pair{text.substr(0, place), text.substr(place + 1)};
}

std::optional<BoardName> find_board(std::string_view text)
{
    const auto parts = divided(text, ':');
    if (!parts || !is_board_type(parts->first))
        return std::nullopt;
    const auto number = board_number_in(parts->second);
    if (!number)
        return std::nullopt;
    return BoardName{std::string{parts->first}, *number};
}

std::optional<ModuleName> find_module(std::string_view text)
{
    const auto parts = divided(text, '/');
    const auto board = parts ? find_board(parts->first) : std::nullopt;
    if (!board)
        return std::nullopt;
    ModuleName module{.board = *board};
    std::string_view slot_text = parts->second;
    if (const auto target = divided(slot_text, '.')) {
        module.target_board = board_number_in(target->first);
        if (!module.target_board)
            return std::nullopt;
        slot_text = target->second;
    }
    const auto slot = number_in(slot_text);
    if (!slot || !is_slot(*slot))
        return std::nullopt;
    module.slot = *slot;
    return module;
}

[[noreturn]] void refuse(std::string what, std::string remedy)
{
    throw FailureError{{.status = ExitStatus::usage, .what = std::move(what), .remedy = std::move(remedy)}};
}

std::string in_quotes(std::string_view text)
{
    std::string quoted_text{'"'};
    return quoted_text.append(text).append(1, '"');
}

/// The first word of a text, and what follows it without leading blanks.
std::pair<std::string_view, std::string_view> first_word(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    const std::size_t end = std::min(text.find_first_of(BLANKS), text.size());
    std::string_view rest = text.substr(end);
    rest.remove_prefix(std::min(rest.find_first_not_of(BLANKS), rest.size()));
    return {text.substr(0, end), rest};
}

EnvironmentBoard board_in(const char* variable, std::string_view value)
{
    const auto [type, rest] = first_word(value);
    const auto [digits, nothing] = first_word(rest);
    const auto number = board_number_in(digits);
    if (!is_board_type(type) || (!digits.empty() && !number) || !nothing.empty())
        refuse(std::string{variable} + " is " + in_quotes(value) + ", which names no board",
               "set it to a board's type and number, such as \"mwc4a 0\"");
    return {std::string{type}, number};
}

} // namespace

std::uint8_t ModuleName::slot_address() const
{
    return join_slot_address(slot, carrier());
}

std::string to_text(const BoardName& board)
{
    return board.type + ":" + std::to_string(board.number);
}

std::string to_text(const ModuleName& module)
{
    const std::string target = module.target_board ? std::to_string(*module.target_board) + "." : "";
    return to_text(module.board) + "/" + target + std::to_string(module.slot);
}

BoardName parse_board_name(std::string_view text)
{
    if (auto board = find_board(text))
        return *std::move(board);
    refuse(in_quotes(text) + " names no board", "write type and number (0 to 15), such as mwc4a:0");
}

ModuleName parse_module_name(std::string_view text)
{
    if (auto module = find_module(text))
        return *std::move(module);
    refuse(
        in_quotes(text) + " names no module",
        "write board type, board (0 to 15) and slot (1 to 4), such as mwc4a:0/2, or mwc4a:0/1.2 for slot 2 "
        "of board 1 over the bus of board 0");
}

void require_valid(const BoardName& board)
{
    if (!is_board_type(board.type))
        refuse(in_quotes(board.type) + " is no board type", "name one such as mwc4a");
    if (!is_board(board.number))
        refuse("boards are numbered 0 to 15, not " + std::to_string(board.number), "");
}

void require_valid(const ModuleName& module)
{
    require_valid(module.board);
    if (!is_board(module.carrier()))
        refuse("boards are numbered 0 to 15, not " + std::to_string(module.carrier()), "");
    if (!is_slot(module.slot))
        refuse("slots are numbered 1 to 4, not " + std::to_string(module.slot), "");
}

std::optional<EnvironmentBoard> environment_board(const char* ksb, const char* jtag)
{
    const char* value = ksb != nullptr ? ksb : jtag;
    if (value == nullptr || first_word(value).first.empty())
        return std::nullopt;
    return board_in(ksb != nullptr ? "MWAPIKSB" : "MWAPIJTAG", value);
}

} // namespace kvn
