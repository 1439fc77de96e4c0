// SPDX-License-Identifier: Apache-2.0
// kvn list: what is in the slots of boards.
#include "commands.h"
#include "interruption.h"
#include "module_choice.h"
#include "plan_findings.h"
#include "provider_options.h"
#include "report/documents.h"
#include "report/plan_json.h"
#include "streams.h"
#include "system/command_words.h"
#include "table.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

/// The column that says why less is known than could be.
constexpr std::size_t REMARK = 7;
constexpr std::size_t DEVICE = 5;

struct Request {
    std::string what;
    std::string plan; ///< that the boards are compared with; empty: none
    ProviderOptions provider;
    bool all = false;
    bool json = false;
};

std::string text_of(const std::optional<unsigned>& number)
{
    return number ? std::to_string(*number) : "";
}

std::vector<std::string> cells(const SlotRow& slot)
{
    std::vector<std::string> row{to_text(slot.name), name_of(slot.kind)};
    if (slot.module) {
        const ModuleIdentity& module = *slot.module;
        row.insert(row.end(), {module.type_name(), text_of(module.model), text_of(module.version),
                               module.device.value_or(""), name_of(module.compression)});
    }
    if (slot.failure) {
        row.resize(REMARK);
        row.push_back(slot.failure->what);
    }
    return row;
}

Table new_table()
{
    return Table{{"Module", "Kind", "Type", "Model", "Version", "Device", "Compressed loads", "Remark"}};
}

std::vector<std::string> cells_of_closed(const BoardRow& board)
{
    std::vector<std::string> row{to_text(board.name), "not read"};
    row.resize(REMARK);
    row.push_back(board.failure->what);
    return row;
}

/// One board that was asked for is shown whatever it is; of many, those that cannot be opened only if wanted.
bool is_shown(const BoardRow& board, const Request& request, std::size_t boards)
{
    return !board.failure || request.all || boards == 1;
}

void print_boards(const std::vector<BoardRow>& boards, const Request& request)
{
    Table table = new_table();
    std::size_t left_out = 0;
    for (const BoardRow& board : boards) {
        if (!is_shown(board, request, boards.size())) {
            ++left_out;
            continue;
        }
        if (board.failure)
            table.add(cells_of_closed(board));
        for (const SlotRow& slot : board.slots)
            table.add(cells(slot));
    }
    table.print(std::cout);
    if (left_out != 0)
        std::cout << left_out << (left_out == 1 ? " board" : " boards") << " could not be opened: kvn list "
                  << system::command_word(boards.front().name.type) << " --all" << as_words(request.provider)
                  << " tells why\n";
}

/// A failure ends the command only if it leaves nothing to list.
ExitStatus status_of(const std::vector<BoardRow>& boards)
{
    const bool any = std::ranges::any_of(boards, [](const BoardRow& board) { return !board.failure; });
    return any ? ExitStatus::done : boards.front().failure->status;
}

ExitStatus list_boards(const Provider& provider, const ListRequest& boards, const Request& request)
{
    const std::vector<BoardRow> rows = list(provider, boards);
    if (request.json)
        print_json(std::cout, boards_document(provider.identity(), rows));
    else
        print_boards(rows, request);
    const ExitStatus status = status_of(rows);
    if (status != ExitStatus::done)
        tell_failure(rows.size() == 1 ? to_text(rows.front().name) + ": " : "", *rows.front().failure);
    return status;
}

ExitStatus list_module(const Provider& provider, const ModuleName& module, const Request& request)
{
    const SlotRow slot = identify(provider, module);
    if (request.json) {
        print_json(std::cout, slot_document(provider.identity(), slot));
    } else {
        Table table = new_table();
        table.add(cells(slot));
        table.print(std::cout);
    }
    if (!slot.failure)
        return ExitStatus::done;
    tell_failure(to_text(module) + ": ", *slot.failure);
    return slot.failure->status;
}

std::vector<BusInventory> inventory_of(const Plan& plan, const Provider& provider)
{
    std::vector<BusInventory> inventory;
    for (const BoardName& bus : buses_of(plan.modules))
        inventory.push_back(take_inventory(provider, bus, modules_on(bus, plan.modules)));
    return inventory;
}

/// By the plan, else by the file.
std::string expected_device(const PlannedModule& module, const RehearsedFiles& files)
{
    const auto& inspection = files.of(module).inspection;
    return module.device.value_or(inspection ? inspection->part : "");
}

void print_comparison(const Plan& plan, const RehearsedFiles& files,
                      const std::vector<BusInventory>& inventory)
{
    Table table{{"Module", "Kind", "Type", "Model", "Version", "Device", "Expected", "File"}};
    for (const PlannedModule& module : plan.modules) {
        std::vector<std::string> row{to_text(module.module), "not read"};
        for (const BusInventory& bus : inventory)
            if (const SlotRow* slot = bus.find(module.module))
                row = cells(*slot);
        row.resize(DEVICE + 1);
        row.insert(row.end(), {expected_device(module, files), module.file});
        table.add(std::move(row));
    }
    table.print(std::cout);
}

/// The part of a rehearsal that concerns the modules.
ExitStatus compare_with_plan(const Request& request)
{
    if (!request.what.empty())
        throw UsageError{"the plan names the boards; leave out " + request.what};
    const Plan plan = read_plan(request.plan);
    const auto provider = open_provider(request.provider);
    const RehearsedFiles files = read_files(plan.modules);
    const std::vector<BusInventory> inventory = inventory_of(plan, *provider);
    const Rehearsal comparison = compare_inventory({.plan = &plan, .files = &files, .inventory = inventory});
    if (request.json)
        print_json(std::cout, inventory_document(provider->identity(), plan, inventory, comparison));
    else
        print_comparison(plan, files, inventory);
    tell_findings(comparison.findings);
    return comparison.has_problem() ? ExitStatus::rehearsal : ExitStatus::done;
}

[[noreturn]] void refuse_to_guess(const Request& request)
{
    throw FailureError{{.status = ExitStatus::usage,
                        .what = "no board is named, by the command line or by MWAPIKSB",
                        .why = "boards have a type and a number, and which types there are is not known here",
                        .remedy = "kvn list mwc4a" + as_words(request.provider)}};
}

ExitStatus show(const Request& request)
{
    const Interruption interruption;
    if (!request.plan.empty())
        return Interruption::status_after(compare_with_plan(request));
    const bool is_module = request.what.find('/') != std::string::npos;
    const auto module = is_module ? std::optional{parse_module_name(request.what)} : std::nullopt;
    const auto boards = is_module ? std::nullopt : chosen_boards(request.what);
    if (!module && !boards)
        refuse_to_guess(request);
    const auto provider = open_provider(request.provider);
    return Interruption::status_after(module ? list_module(*provider, *module, request)
                                             : list_boards(*provider, *boards, request));
}

} // namespace

Action add_list(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "list", "Lists boards and their modules; loads nothing");
    add_option(*command, "board", request->what,
               "A board (mwc4a:0), a board type (mwc4a: boards 0 to 15) or a module (mwc4a:0/1, or "
               "mwc4a:0/1.2 for slot 2 of board 1 over board 0); default: MWAPIKSB or MWAPIJTAG");
    add_provider_options(*command, request->provider);
    add_flag(*command, "--all", request->all, "Show the boards that cannot be opened too");
    add_option(*command, "--expect", request->plan,
               "A plan: asks its modules, and compares them with what it expects");
    add_json(*command, request->json);
    add_examples(*command, {"kvn list mwc4a:0", "kvn list mwc4a --provider virtual --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
