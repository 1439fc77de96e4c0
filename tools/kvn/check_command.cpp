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

ExitStatus check(const Request& request)
{
    const Input input = Input::from_path(request.file);
    Inspection inspection = inspect(input);
    const Judgement judgement = judge(input, inspection, request.device, request.loads);
    if (request.json)
        print_json(std::cout, to_json(inspection, judgement));
    else
        print_judgement(std::cout, inspection, judgement);
    const auto failure = failure_of(inspection, judgement);
    return failure ? failure->status : ExitStatus::done;
}

} // namespace

Action add_check(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    auto load = std::make_shared<std::string>("both");
    CLI::App* command = add_command(program, "check", "Tells whether a module would start");
    add_option(*command, "file", request->file, "The RBT, BIT or MCB file")->required();
    add_option(*command, "--device", request->device,
               "The module's device, such as 2v3000fg676-4; default: the one that the file names");
    add_option(*command, "--load", *load, "The kind of load that must succeed")
        ->check(one_of({"plain", "compressed", "both"}))
        ->capture_default_str();
    add_json(*command, request->json);
    add_examples(*command,
                 {"kvn check design.rbt --device 2v3000fg676-4", "kvn check design.bit --load compressed"});
    return [request, load] {
        if (*load != "both")
            request->loads = {*load == "plain" ? LoadKind::plain : LoadKind::compressed};
        return check(*request);
    };
}

} // namespace kvn
