// SPDX-License-Identifier: Apache-2.0
// What is in the slots of boards, without a question and without a load.
#include "module/list.h"

#include "bus/slot_address.h"
#include "devices.h"
#include "module/bus_session.h"
#include "support/text.h"

#include <algorithm>

namespace kvn
{
namespace
{

/// Fills the row's slots. A board whose information cannot be read has none.
void ask_slots(BusSession& session, BoardRow& row)
{
    for (unsigned slot = FIRST_SLOT; slot <= LAST_SLOT; ++slot) {
        const ModuleName module{.board = row.name, .slot = slot};
        SlotRow found = session.ask(module);
        if (found.kind == SlotKind::unknown) {
            row.failure = std::move(found.failure);
            row.slots.clear();
            return;
        }
        if (session.wire().info())
            row.info_word = session.wire().info()->front();
        row.slots.push_back(std::move(found));
    }
}

BoardRow ask_board(const Provider& provider, const BoardName& board)
{
    LoadControl none;
    BusSession session{provider, none};
    BoardRow row{.name = board};
    row.failure = session.open(board);
    if (!row.failure)
        ask_slots(session, row);
    return row;
}

/// The length of the device in a name that begins with a known one, the maker's prefix included.
std::size_t length_of(const fpga::Device& device, const std::string& name)
{
    constexpr std::string_view prefix = "xc";
    const bool has_prefix = kvn_fpga_imp::stricmp(prefix.data(), name.c_str()) == 0;
    return device.name.size() + (has_prefix ? prefix.size() : 0);
}

/// The same for a device that no table has: digits, letters, digits.
std::size_t length_of_unknown(const std::string& name)
{
    const auto letters = std::find_if_not(name.begin(), name.end(), is_digit);
    const auto digits = std::find_if(letters, name.end(), is_digit);
    return static_cast<std::size_t>(std::find_if_not(digits, name.end(), is_digit) - name.begin());
}

} // namespace

const char* name_of(SlotKind kind)
{
    constexpr const char* names[] = {"unknown", "empty", "processor", "without bus", "module"};
    return names[static_cast<int>(kind)];
}

const char* name_of(Compression compression)
{
    constexpr const char* names[] = {"unknown", "no", "yes"};
    return names[static_cast<int>(compression)];
}

DevicePart split_device_name(const std::string& name)
{
    const std::size_t dash = std::min(name.find('-'), name.size());
    const fpga::Device* known = fpga::find_device(name);
    const std::size_t end =
        std::min(known != nullptr ? length_of(*known, name) : length_of_unknown(name), dash);
    return {name.substr(0, end), name.substr(end, dash - end),
            dash == name.size() ? "" : name.substr(dash + 1)};
}

std::string ModuleIdentity::type_name() const
{
    if (type == KAVRIN_FPGA)
        return "KAVRIN-FPGA";
    return type == KAVRIN_IO ? "KAVRIN-IO" : "type " + std::to_string(type);
}

std::vector<BoardRow> list(const Provider& provider, const ListRequest& request)
{
    require_valid(BoardName{request.board_type, request.board.value_or(0)});
    std::vector<BoardRow> rows;
    const unsigned first = request.board.value_or(0);
    const unsigned last = request.board.value_or(BOARDS - 1);
    for (unsigned number = first; number <= last; ++number)
        rows.push_back(ask_board(provider, {request.board_type, number}));
    return rows;
}

SlotRow identify(const Provider& provider, const ModuleName& module)
{
    require_valid(module);
    LoadControl none;
    BusSession session{provider, none};
    if (auto failure = session.open(module.board))
        return {.name = module, .failure = std::move(failure)};
    return session.ask(module);
}

} // namespace kvn
