// SPDX-License-Identifier: Apache-2.0
// The JSON documents about providers, boards and loads.
#include "report/documents.h"

#include "report/module_json.h"

namespace kvn
{
namespace
{

Json empty_boards_document(const ProviderIdentity& provider)
{
    Json json = json_document("boards");
    json["provider"] = to_json(provider);
    json["boards"] = Json::array();
    json["slots"] = Json::array();
    return json;
}

} // namespace

Json provider_document(const ProviderIdentity& provider)
{
    Json json = json_document("provider");
    json["provider"] = to_json(provider);
    return json;
}

Json file_document(const Input& file)
{
    Json json = json_document("file");
    json["file"] = file.name();
    json["size"] = file.size();
    json["stored"] = stored_json(file.stored());
    return json;
}

Json boards_document(const ProviderIdentity& provider, std::span<const BoardRow> boards)
{
    Json json = empty_boards_document(provider);
    for (const BoardRow& board : boards)
        json["boards"].push_back(to_json(board));
    return json;
}

Json slot_document(const ProviderIdentity& provider, const SlotRow& slot)
{
    Json json = empty_boards_document(provider);
    json["slots"].push_back(to_json(slot));
    return json;
}

Json record_document(const Record& record)
{
    Json json = json_document("record");
    if (record.failure)
        json["error"] = failure_json(*record.failure)["error"];
    json.update(to_json(record));
    return json;
}

} // namespace kvn
