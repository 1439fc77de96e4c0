// SPDX-License-Identifier: Apache-2.0
// kvn info: what a bitstream file is.
#include "commands.h"
#include "report.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    double bytes_per_second = 0;
    bool json = false;
};

ExitStatus show(const Request& request)
{
    const Input input = Input::from_path(request.file);
    const Inspection inspection = inspect(input);
    std::optional<Estimate> time;
    if (request.bytes_per_second > 0 && inspection.found_bits != 0)
        time = estimate(input, inspection, {.bytes_per_second = request.bytes_per_second});
    if (request.json)
        print_json(std::cout, to_json(inspection, time));
    else
        print_report(std::cout, inspection, time);
    return ExitStatus::done;
}

} // namespace

Action add_info(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "info", "Tells what a bitstream file is");
    add_option(*command, "file", request->file, "The RBT, BIT or MCB file")->required();
    add_option(*command, "--bytes-per-second", request->bytes_per_second,
               "Speed of the bus, for the time that a load would take")
        ->check(CLI::PositiveNumber);
    add_json(*command, request->json);
    add_examples(*command, {"kvn info design.bit", "kvn info design.rbt --bytes-per-second 250000 --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
