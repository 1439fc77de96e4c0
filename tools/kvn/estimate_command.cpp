// SPDX-License-Identifier: Apache-2.0
// kvn estimate: what a load of a file would send.
#include "commands.h"
#include "file/estimate.h"
#include "file/judgement.h"
#include "lines.h"
#include "report/file_json.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    EstimateRequest estimate;
    bool plain = false;
    bool compressed = false;
    bool smallest = false;
    double bytes_per_second = 0;
    bool json = false;
};

EstimateRequest estimate_of(const Request& request)
{
    EstimateRequest wanted = request.estimate;
    if (request.plain)
        wanted.wish = ModeWish::plain;
    if (request.compressed)
        wanted.wish = ModeWish::compressed;
    if (request.smallest)
        wanted.wish = ModeWish::smallest;
    if (request.bytes_per_second > 0)
        wanted.bytes_per_second = request.bytes_per_second;
    return wanted;
}

std::string size_words(const LoadSize& size, LoadKind kind)
{
    if (!size.is_loadable)
        return printable(size.error);
    std::string words = std::to_string(size.wire_bytes) + " bytes on the wire, " +
                        std::to_string(size.units) + (kind == LoadKind::plain ? " words" : " pairs") + ", " +
                        std::to_string(size.held_back) + " bytes held back";
    if (size.seconds)
        words += ", " + fixed(*size.seconds, 3) + " s";
    return words;
}

void print_estimate(const Request& request, const Estimate& estimated)
{
    Lines lines{std::cout};
    lines.add("File", printable(request.file));
    lines.add("Mode", std::string{kind_name(estimated.mode)} + ": " + estimated.why);
    lines.add("Plain", size_words(estimated.plain, LoadKind::plain));
    lines.add("Compressed", size_words(estimated.compressed, LoadKind::compressed));
}

ExitStatus show(const Request& request)
{
    const Input input = Input::from_path(request.file);
    const Inspection inspection = inspect(input);
    const EstimateRequest wanted = estimate_of(request);
    const Estimate estimated = estimate(input, inspection, wanted);
    if (request.json)
        print_json(std::cout, to_json(inspection, wanted, estimated));
    else
        print_estimate(request, estimated);
    const LoadSize& chosen = estimated.chosen();
    if (chosen.is_loadable)
        return ExitStatus::done;
    const Failure failure = library_failure(chosen.number, chosen.error);
    tell_failure(request.file + ": ", failure);
    return failure.status;
}

} // namespace

Action add_estimate(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "estimate", "Tells what a load would send, and how long it takes");
    add_option(*command, "file", request->file, "The RBT, BIT or MCB file, packed or not")->required();
    add_option(*command, "--device", request->estimate.device,
               "The module's device, 2v3000fg676-4; default: the one that the file names");
    CLI::Option* plain = add_flag(*command, "--plain", request->plain, "A load without compression");
    CLI::Option* compressed = add_flag(*command, "--compressed", request->compressed, "A compressed load");
    CLI::Option* smallest =
        add_flag(*command, "--smallest", request->smallest, "The mode that sends fewer bytes");
    plain->excludes(compressed)->excludes(smallest);
    compressed->excludes(smallest);
    add_option(*command, "--bytes-per-second", request->bytes_per_second,
               "Speed of the bus, for the time that the load takes")
        ->check(CLI::PositiveNumber);
    add_json(*command, request->json);
    add_examples(*command, {"kvn estimate design.bit --bytes-per-second 250000",
                            "kvn estimate design.rbt --device 2v3000fg676-4 --plain --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
