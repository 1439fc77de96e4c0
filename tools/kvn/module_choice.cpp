// SPDX-License-Identifier: Apache-2.0
// Which boards and which module are meant, by the command line and the environment; never by a guess.
#include "module_choice.h"

#include <cstdlib>

namespace kvn
{
namespace
{

std::optional<ListRequest> boards_of_environment()
{
    const char* ksb = std::getenv("MWAPIKSB");   // NOLINT(concurrency-mt-unsafe): the only thread
    const char* jtag = std::getenv("MWAPIJTAG"); // NOLINT(concurrency-mt-unsafe): the only thread
    const auto board = environment_board(ksb, jtag);
    if (!board)
        return std::nullopt;
    return ListRequest{board->type, board->number};
}

std::vector<SlotRow> candidates(const std::vector<BoardRow>& boards)
{
    std::vector<SlotRow> found;
    for (const BoardRow& board : boards)
        for (const SlotRow& slot : board.slots)
            if (slot.kind == SlotKind::module && !slot.failure)
                found.push_back(slot);
    return found;
}

std::string words_of(const ListRequest& boards)
{
    if (boards.board)
        return "on " + to_text(BoardName{boards.board_type, *boards.board});
    return "on any board " + boards.board_type;
}

Failure no_candidate(const std::vector<BoardRow>& rows, const ListRequest& boards)
{
    if (boards.board && rows.front().failure)
        return *rows.front().failure;
    const std::string board =
        boards.board ? to_text(BoardName{boards.board_type, *boards.board}) : boards.board_type;
    return {.status = ExitStatus::no_module,
            .what = "there is no module to load " + words_of(boards) + ", which the environment names",
            .remedy = "kvn list " + board + " --all"};
}

/// A command for each, on a line of its own.
Failure too_many(const std::vector<SlotRow>& found, const std::string& command, const std::string& options)
{
    Failure failure{.status = ExitStatus::usage,
                    .what = "no module is named, and there are " + std::to_string(found.size())};
    for (const SlotRow& slot : found) {
        std::string& remedy = failure.remedy;
        remedy.append(remedy.empty() ? "" : "\n").append(command).append(" ").append(to_text(slot.name));
        remedy.append(options);
        if (slot.module)
            remedy.append("  # ").append(description(*slot.module));
    }
    return failure;
}

} // namespace

std::optional<ListRequest> chosen_boards(const std::string& word)
{
    if (word.empty())
        return boards_of_environment();
    if (word.find(':') == std::string::npos)
        return ListRequest{word, std::nullopt};
    const BoardName board = parse_board_name(word);
    return ListRequest{board.type, board.number};
}

ModuleName only_module(const Provider& provider, const std::string& command, const std::string& options)
{
    const auto boards = boards_of_environment();
    if (!boards)
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "no module is named, and the environment names no board",
                            .why = "a module has a board type, the number of its board and a slot",
                            .remedy = command + " mwc4a:0/1" + options}};
    const std::vector<BoardRow> rows = list(provider, *boards);
    const std::vector<SlotRow> found = candidates(rows);
    if (found.empty())
        throw FailureError{no_candidate(rows, *boards)};
    if (found.size() > 1)
        throw FailureError{too_many(found, command, options)};
    return found.front().name;
}

std::string description(const ModuleIdentity& module)
{
    std::string words = module.type_name();
    if (module.model)
        words += " model " + std::to_string(*module.model);
    if (module.version)
        words += " version " + std::to_string(*module.version);
    if (module.device && !module.device->empty())
        words += ", " + *module.device;
    return words;
}

} // namespace kvn
