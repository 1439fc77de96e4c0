// SPDX-License-Identifier: Apache-2.0
// kvn plan: writes plan files, of the rack that is there or of a .con file.
#include "commands.h"
#include "file/new_file.h"
#include "interruption.h"
#include "module_choice.h"
#include "plan/new_plan.h"
#include "plan_findings.h"
#include "provider_options.h"
#include "report/plan_json.h"
#include "streams.h"
#include "system/command_words.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Target {
    std::string file;
    bool overwrite = false;
    bool json = false;
};

struct NewRequest {
    bool from_list = false;
    std::vector<std::string> board_types;
    std::vector<std::string> files;
    ProviderOptions provider;
    Target target;
};

struct ConvertRequest {
    std::string plan;
    bool classic = false;
    Target target;
};

bool is_output(const Target& target)
{
    return target.file == "-";
}

void require_writable(const Target& target)
{
    if (is_output(target) && target.json)
        throw UsageError{"standard output cannot take both the plan and the JSON; name a file as target"};
    if (!is_output(target))
        require_free(target.file, target.overwrite);
}

/// Names files as a plan at the target finds them. On standard output nobody knows where it is going to be.
void name_files(std::vector<PlannedModule>& modules, const Target& target)
{
    if (is_output(target))
        return;
    for (PlannedModule& module : modules)
        if (module.file != FILE_TO_FILL_IN)
            module.file = name_in_plan(target.file, module.file);
}

std::string count_of(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " module" : " modules");
}

void write(const std::vector<PlannedModule>& modules, const std::string& comment, const Target& target)
{
    const std::string text = new_plan_text(modules, comment);
    if (is_output(target)) {
        write_to_standard_output(text);
        return;
    }
    NewFile file{target.file};
    file.write(text);
    file.move_to_target(target.overwrite);
}

/// Says what was written; the plan itself may be on standard output.
void tell_written(const std::vector<PlannedModule>& modules, const std::vector<Finding>& findings,
                  const Target& target)
{
    if (target.json)
        print_json(std::cout, plan_document(target.file, modules, findings));
    else if (!is_output(target))
        std::cout << printable(target.file) << ": " << count_of(modules.size()) << '\n';
}

/// Boards of all types that are named, or those of the environment; never a guess.
std::vector<ListRequest> boards_of(const NewRequest& request)
{
    std::vector<ListRequest> boards;
    for (const std::string& type : request.board_types)
        boards.push_back(*chosen_boards(type));
    if (const auto usual = boards.empty() ? chosen_boards("") : std::nullopt)
        boards.push_back(*usual);
    if (boards.empty())
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "no board type is named, and the environment names no board",
                            .why = "which types of boards there are is not known here",
                            .remedy = "kvn plan new --from-list --board-type mwc4a -o " +
                                      system::command_word(request.target.file) +
                                      as_words(request.provider)}};
    return boards;
}

std::vector<BoardRow> rows_of(const std::vector<ListRequest>& boards, const Provider& provider)
{
    std::vector<BoardRow> rows;
    for (const ListRequest& each : boards) {
        std::vector<BoardRow> found = list(provider, each);
        std::ranges::move(found, std::back_inserter(rows));
    }
    return rows;
}

/// Modules that should have been in the plan.
void tell_silent(const std::vector<BoardRow>& rows)
{
    for (const BoardRow& board : rows)
        for (const SlotRow& slot : board.slots)
            if (slot.failure)
                tell_failure(to_text(slot.name) + " is left out: ", *slot.failure);
}

std::string comment_of(const std::vector<PlannedModule>& modules, const Provider& provider)
{
    std::string comment = "The modules that were there, by kvn plan new --from-list.";
    if (provider.identity().simulated)
        comment += "\nThe boards are simulated.";
    if (std::ranges::find(modules, FILE_TO_FILL_IN, &PlannedModule::file) != modules.end())
        comment.append("\nWrite the bitstream of each module in place of ")
            .append(FILE_TO_FILL_IN)
            .append(".");
    return comment;
}

ExitStatus make_new(const NewRequest& request)
{
    const Interruption interruption;
    if (!request.from_list)
        throw UsageError{"what the plan is made of is not said; kvn plan new --from-list takes the rack that "
                         "is there"};
    require_writable(request.target);
    const std::vector<ListRequest> boards = boards_of(request);
    std::vector<Inspection> files;
    for (const std::string& file : request.files)
        files.push_back(inspect(file));
    const auto provider = open_provider(request.provider);
    const std::vector<BoardRow> rows = rows_of(boards, *provider);
    std::vector<PlannedModule> modules = plan_of_rack(rows, files);
    tell_silent(rows);
    if (modules.empty())
        throw FailureError{{.status = ExitStatus::no_module,
                            .what = "there is no module that a plan could name",
                            .remedy = "kvn list " + system::command_word(boards.front().board_type) +
                                      " --all" + as_words(request.provider)}};
    name_files(modules, request.target);
    write(modules, comment_of(modules, *provider), request.target);
    tell_written(modules, {}, request.target);
    const auto open = std::ranges::count(modules, FILE_TO_FILL_IN, &PlannedModule::file);
    if (open != 0)
        tell(count_of(static_cast<std::size_t>(open)) + ": the bitstream is to be filled in, in place of " +
             FILE_TO_FILL_IN);
    return Interruption::status_after(ExitStatus::done);
}

ExitStatus convert_plan(const ConvertRequest& request)
{
    const Interruption interruption;
    require_writable(request.target);
    Plan plan = read_plan(request.plan, request.classic ? ConReading::classic : ConReading::strict);
    tell_findings(plan.findings);
    if (plan.has_problem())
        throw FailureError{{.status = ExitStatus::usage,
                            .what = request.plan + " has problems; nothing was written",
                            .remedy = "correct its lines"}};
    name_files(plan.modules, request.target);
    write(plan.modules, "Converted from " + printable(request.plan) + " by kvn plan convert.",
          request.target);
    tell_written(plan.modules, plan.findings, request.target);
    return Interruption::status_after(ExitStatus::done);
}

void add_target(CLI::App& command, Target& target)
{
    add_option(command, "-o,--output", target.file, "The plan file to write, .toml; - for standard output")
        ->required();
    add_flag(command, "--overwrite", target.overwrite, "Replace a file that exists");
    add_json(command, target.json);
}

Action add_new(CLI::App& plan)
{
    auto request = std::make_shared<NewRequest>();
    CLI::App* command = add_command(plan, "new", "Writes a plan of the rack that is there");
    add_flag(*command, "--from-list", request->from_list, "Name each module that answers, with its device");
    add_option(*command, "--board-type", request->board_types,
               "Boards 0 to 15 of a type, or one board (mwc4a:0); may be given several times; "
               "default: MWAPIKSB or MWAPIJTAG");
    add_option(*command, "--file", request->files,
               "A bitstream file; modules with its device get it; may be given several times");
    add_provider_options(*command, request->provider);
    add_target(*command, request->target);
    add_examples(*command, {"kvn plan new --from-list --board-type mwc4a -o rack.toml",
                            "kvn plan new --from-list --board-type mwc4a --file design.bit -o rack.toml"});
    return [request] { return make_new(*request); };
}

Action add_convert_plan(CLI::App& plan)
{
    auto request = std::make_shared<ConvertRequest>();
    CLI::App* command = add_command(plan, "convert", "Writes a plan file of a .con file");
    add_option(*command, "plan", request->plan, "The .con file")->required();
    add_flag(*command, "--classic", request->classic,
             "Read it as KVN_FPGA does, which skips or misreads odd lines");
    add_target(*command, request->target);
    add_examples(*command,
                 {"kvn plan convert rack.con -o rack.toml", "kvn plan convert rack.con -o - --classic"});
    return [request] { return convert_plan(*request); };
}

} // namespace

Action add_plan(CLI::App& program)
{
    CLI::App* command = add_command(program, "plan", "Writes plan files for kvn run");
    command->require_subcommand(1);
    add_examples(*command, {"kvn plan new --from-list --board-type mwc4a -o found.toml",
                            "kvn plan convert rack.con -o rack.toml"});
    const Action make = add_new(*command);
    const Action convert = add_convert_plan(*command);
    return [make, convert, command] { return command->got_subcommand("new") ? make() : convert(); };
}

} // namespace kvn
