// SPDX-License-Identifier: Apache-2.0
// kvn check: whether a module would start with a bitstream file.
#include "commands.h"
#include "file/judgement.h"
#include "report.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    std::string device;
    std::vector<LoadKind> loads{LoadKind::plain, LoadKind::compressed};
    bool json = false;
};

Status exit_status(Answer answer)
{
    switch (answer) {
    case Answer::yes:
        return YES;
    case Answer::no:
        return NO;
    default:
        return UNKNOWN;
    }
}

int check(const Request& request)
{
    Inspection inspection = inspect(request.file);
    const Judgement judgement = judge(inspection, request.device, request.loads);
    if (request.json)
        print_json(std::cout, to_json(inspection, judgement));
    else
        print_judgement(std::cout, inspection, judgement);
    return exit_status(judgement.answer);
}

} // namespace

Action add_check(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    auto load = std::make_shared<std::string>("both");
    CLI::App* command = program.add_subcommand(
        "check", "Tells whether a module would start: exit status 0 yes, 1 no, 2 cannot be judged");
    command->add_option("file", request->file, "The RBT, BIT or MCB file")->required();
    command->add_option("--device", request->device,
                        "The module's device, such as 2v3000fg676-4; default: the one that the file names");
    command->add_option("--load", *load, "The kind of load that must succeed")
        ->check(CLI::IsMember({"plain", "compressed", "both"}))
        ->capture_default_str();
    command->add_flag("--json", request->json, "Print JSON");
    return [request, load] {
        if (*load != "both")
            request->loads = {*load == "plain" ? LoadKind::plain : LoadKind::compressed};
        return check(*request);
    };
}

} // namespace kvn
