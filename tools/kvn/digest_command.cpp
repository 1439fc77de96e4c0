// SPDX-License-Identifier: Apache-2.0
// kvn digest: one fingerprint for a design, whatever form of file holds it.
#include "commands.h"
#include "file/digest.h"
#include "report/file_json.h"
#include "streams.h"

#include <iostream>
#include <memory>
#include <utility>
#include <variant>

namespace kvn
{
namespace
{

struct Request {
    std::vector<std::string> files;
    bool json = false;
};

struct Found {
    Inspection inspection;
    Digest digest;
};

struct Row {
    std::string file;
    std::variant<Found, Failure> result;
};

Row row_of(const std::string& file)
{
    try {
        Inspection inspection = inspect(file);
        Digest digest = digest_of(inspection);
        return {file, Found{std::move(inspection), std::move(digest)}};
    } catch (const FailureError& error) {
        return {file, error.failure()};
    }
}

Json row_json(const Row& row)
{
    if (const Failure* failure = std::get_if<Failure>(&row.result)) {
        Json error = failure_json(*failure)["error"];
        return {{"error", std::move(error)}, {"file", row.file}};
    }
    const Found& found = std::get<Found>(row.result);
    Json json = to_json(found.inspection, found.digest);
    json.erase("kvn");
    json.erase("version");
    return json;
}

/// The failure of the first file that has one.
const Failure* first_failure(const std::vector<Row>& rows)
{
    for (const Row& row : rows)
        if (const Failure* failure = std::get_if<Failure>(&row.result))
            return failure;
    return nullptr;
}

void print_document(const std::vector<Row>& rows)
{
    Json json = json_document("digests");
    if (const Failure* failure = first_failure(rows))
        json["error"] = failure_json(*failure)["error"];
    json["files"] = Json::array();
    for (const Row& row : rows)
        json["files"].push_back(row_json(row));
    print_json(std::cout, json);
}

void tell_row(const Row& row, bool json)
{
    if (const Failure* failure = std::get_if<Failure>(&row.result))
        tell_failure(failure->what.starts_with(row.file + ": ") ? "" : row.file + ": ", *failure);
    else if (!json)
        std::cout << std::get<Found>(row.result).digest.sha256 << "  " << printable(row.file) << '\n';
}

ExitStatus show(const Request& request)
{
    std::vector<Row> rows;
    for (const std::string& file : request.files) {
        rows.push_back(row_of(file));
        tell_row(rows.back(), request.json);
    }
    if (request.json)
        print_document(rows);
    const Failure* failure = first_failure(rows);
    return failure == nullptr ? ExitStatus::done : failure->status;
}

} // namespace

Action add_digest(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "digest", "Prints the fingerprint of a design, equal in all forms of file");
    add_option(*command, "files", request->files, "RBT, BIT and MCB files")->required();
    add_json(*command, request->json);
    add_examples(*command, {"kvn digest design.bit design.rbt design.mcb", "kvn digest design.bit --json"});
    return [request] { return show(*request); };
}

} // namespace kvn
