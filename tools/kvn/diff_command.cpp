// SPDX-License-Identifier: Apache-2.0
// kvn diff: two files compared as configuration.
#include "commands.h"
#include "file/difference.h"
#include "lines.h"
#include "report/file_json.h"
#include "table.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

/// More frames than these are counted, and listed with --all.
constexpr std::size_t FRAMES_SHOWN = 20;

struct Request {
    std::string first;
    std::string second;
    bool all = false;
    bool json = false;
};

std::string side_of(const FrameDifference& frame)
{
    if (frame.in_first && frame.in_second)
        return "";
    return frame.in_first ? "only in the first file" : "only in the second file";
}

void print_frames(const Difference& difference, bool all)
{
    if (difference.frames.empty())
        return;
    const std::size_t shown =
        all ? difference.frames.size() : std::min(FRAMES_SHOWN, difference.frames.size());
    Table table{{"Block", "Major", "Minor", "Bits", "Remark"}};
    for (std::size_t i = 0; i < shown; ++i) {
        const FrameDifference& frame = difference.frames[i];
        table.add({std::to_string(frame.block), std::to_string(frame.major), std::to_string(frame.minor),
                   std::to_string(frame.bits), side_of(frame)});
    }
    table.print(std::cout);
    if (shown < difference.frames.size())
        std::cout << difference.frames.size() - shown << " more frames differ; --all shows them\n";
}

std::string words_of(const std::vector<std::uint32_t>& words)
{
    std::string text;
    for (const std::uint32_t word : words)
        text += (text.empty() ? "" : " ") + in_hex(word);
    return text.empty() ? "none" : text;
}

void print_difference(const Request& request, const Difference& difference)
{
    Lines lines{std::cout};
    lines.add("First", printable(request.first) + ", " + std::to_string(difference.first_bits) + " bits");
    lines.add("Second", printable(request.second) + ", " + std::to_string(difference.second_bits) + " bits");
    lines.add("Result", coloured(printable(difference.words), difference.same_configuration));
    for (const HeaderDifference& header : difference.headers)
        lines.add("Header " + header.name, printable(header.first) + " | " + printable(header.second));
    for (const RegisterDifference& each : difference.registers)
        lines.add("Register " + each.name, words_of(each.first) + " | " + words_of(each.second));
    if (difference.first_bit)
        lines.add("First at bit", std::to_string(*difference.first_bit));
    print_frames(difference, request.all);
}

ExitStatus show(const Request& request)
{
    const Input first = Input::from_path(request.first);
    const Input second = Input::from_path(request.second);
    const Difference difference = compare(first, second);
    if (request.json)
        print_json(std::cout, to_json(first, second, difference));
    else
        print_difference(request, difference);
    return ExitStatus::done;
}

} // namespace

Action add_diff(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command = add_command(program, "diff", "Compares two files as configuration");
    add_option(*command, "first", request->first, "A file")->required();
    add_option(*command, "second", request->second, "Another file, in any form")->required();
    add_flag(*command, "--all", request->all, "Show every frame that differs, not the first 20 only");
    add_json(*command, request->json);
    add_examples(*command, {"kvn diff design.bit design.rbt", "kvn diff design.bit other.bit --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
