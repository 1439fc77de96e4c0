// SPDX-License-Identifier: Apache-2.0
// kvn support: one file to mail, with what helps to find a fault.
#include "archive.h"
#include "commands.h"
#include "file/judgement.h"
#include "file/new_file.h"
#include "interruption.h"
#include "lines.h"
#include "module_choice.h"
#include "provider_options.h"
#include "report/documents.h"
#include "report/module_json.h"
#include "system/path_text.h"
#include "version.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>

namespace kvn
{
namespace
{

struct Request {
    std::string target;
    std::vector<std::string> files;
    std::string boards;
    std::string trace;
    std::string journal;
    ProviderOptions provider;
    bool overwrite = false;
    bool json = false;
};

/// An entry, and what a user is told of it.
struct Part {
    ArchiveEntry entry;
    std::string what;
};

std::string text_of(const Json& json)
{
    std::ostringstream text;
    print_json(text, json);
    return text.str();
}

Json versions(const std::optional<ProviderIdentity>& provider)
{
    Json json = json_document("versions");
    json["tool"] = std::string{"kvn "} + TOOL_VERSION;
    json["library"] = std::string{"kvn_fpga "} + KVN_VERSION;
    json["provider"] = provider ? to_json(*provider) : Json{};
    return json;
}

/// The end of a path, of characters that every system takes in a name.
std::string plain_name(const std::string& path)
{
    constexpr std::size_t longest = 40;
    std::string name = system::last_component(path);
    std::ranges::replace_if(
        name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '.' && c != '-'; },
        '_');
    return name.substr(0, longest);
}

/// What a command would print as JSON; its failure if it fails.
template <class Document>
std::string document_of(Document make)
{
    try {
        return text_of(make());
    } catch (const FailureError& error) {
        return text_of(failure_json(error.failure()));
    }
}

Json info_of(const std::string& file)
{
    return to_json(inspect(file), std::nullopt);
}

Json check_of(const std::string& file)
{
    const Input input = Input::from_path(file);
    Inspection inspection = inspect(input);
    const Judgement judgement = judge(input, inspection, "", {LoadKind::plain, LoadKind::compressed});
    return to_json(inspection, judgement);
}

void add_files(std::vector<Part>& parts, const std::vector<std::string>& files)
{
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string& file = files[i];
        const std::string name = "files/" + std::to_string(i + 1) + "-" + plain_name(file);
        parts.push_back({{name + ".info.json", document_of([&] { return info_of(file); })},
                         "kvn info of " + file + ": its header and facts, not its data"});
        parts.push_back(
            {{name + ".check.json", document_of([&] { return check_of(file); })}, "kvn check of " + file});
    }
}

/// A file as it is. One that cannot be read is a failure, since it was asked for.
std::string content_of(const std::string& file)
{
    const Input input = Input::from_path(file);
    const File stream = input.open();
    std::string content(input.size(), '\0');
    content.resize(std::fread(content.data(), 1, content.size(), stream.get()));
    return content;
}

void add_boards(std::vector<Part>& parts, const Request& request, const ListRequest& boards)
{
    std::optional<ProviderIdentity> identity;
    const std::string listed = document_of([&] {
        const auto provider = open_provider(request.provider);
        identity = provider->identity();
        return boards_document(*identity, list(*provider, boards));
    });
    const std::string name =
        boards.board ? to_text(BoardName{boards.board_type, *boards.board}) : boards.board_type;
    parts.push_back({{"list.json", listed}, "kvn list of " + name});
    parts.front().entry.content = text_of(versions(identity));
}

std::vector<Part> gather(const Request& request)
{
    std::vector<Part> parts{{{"versions.json", text_of(versions(std::nullopt))},
                             "the versions of kvn and of the library, name and file of the provider"}};
    if (const auto boards = chosen_boards(request.boards))
        add_boards(parts, request, *boards);
    add_files(parts, request.files);
    if (!request.trace.empty())
        parts.push_back({{"trace.jsonl", content_of(request.trace)},
                         "the trace " + request.trace + ": all calls, with the data sent and received"});
    if (!request.journal.empty())
        parts.push_back({{"journal.jsonl", content_of(request.journal)}, "the journal " + request.journal});
    return parts;
}

void print_parts(std::ostream& out, const std::string& target, const std::vector<Part>& parts)
{
    out << printable(target) << " will contain:\n";
    for (const Part& part : parts)
        out << "  " << part.entry.name << ", " << part.entry.content.size()
            << " bytes: " << printable(part.what) << '\n';
    out << "and nothing else.\n" << std::flush;
}

Json document(const std::string& target, const std::vector<Part>& parts, std::size_t bytes)
{
    Json json = json_document("support");
    json["file"] = target;
    json["bytes"] = bytes;
    json["entries"] = Json::array();
    for (const Part& part : parts)
        json["entries"].push_back(
            {{"name", part.entry.name}, {"bytes", part.entry.content.size()}, {"what", part.what}});
    return json;
}

std::string archive_of(const std::vector<Part>& parts)
{
    std::vector<ArchiveEntry> entries;
    entries.reserve(parts.size());
    for (const Part& part : parts)
        entries.push_back(part.entry);
    return make_archive(entries);
}

void write(const Request& request, const std::string& archive)
{
    if (request.target == "-") {
        write_to_standard_output(archive);
        return;
    }
    NewFile file{request.target};
    file.write(archive);
    file.move_to_target(request.overwrite);
}

ExitStatus make(const Request& request)
{
    const Interruption interruption;
    if (request.target == "-" && request.json)
        throw UsageError{"standard output cannot take both the file and the JSON; name a file"};
    if (request.target != "-")
        require_free(request.target, request.overwrite);
    const std::vector<Part> parts = gather(request);
    print_parts(request.json || request.target == "-" ? std::cerr : std::cout, request.target, parts);
    const std::string archive = archive_of(parts);
    write(request, archive);
    if (request.json)
        print_json(std::cout, document(request.target, parts, archive.size()));
    return Interruption::status_after(ExitStatus::done);
}

} // namespace

Action add_support(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "support", "Writes one file to mail, with what helps to find a fault");
    add_option(*command, "target", request->target, "The .tar.gz file to write; - for standard output")
        ->required();
    add_option(*command, "files", request->files, "Bitstream files to describe; their data stay here");
    add_option(*command, "--boards", request->boards,
               "A board (mwc4a:0) or a board type to list; default: those of MWAPIKSB or MWAPIJTAG");
    add_option(*command, "--trace", request->trace, "A recording of platform calls to add as it is");
    add_option(*command, "--journal", request->journal, "The journal of a run to add as it is");
    add_flag(*command, "--overwrite", request->overwrite, "Replace a file that exists");
    add_provider_options(*command, request->provider);
    add_json(*command, request->json);
    add_examples(*command, {"kvn support fault.tar.gz design.bit --boards mwc4a:0",
                            "kvn support fault.tar.gz design.bit --trace run.jsonl --overwrite"});
    return [request] { return make(*request); };
}

} // namespace kvn
