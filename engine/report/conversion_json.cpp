// SPDX-License-Identifier: Apache-2.0
// A conversion as JSON.
#include "report/conversion_json.h"

namespace kvn
{
namespace
{

Json fields_json(const std::vector<HeaderField>& fields)
{
    Json json = Json::array();
    for (const HeaderField& field : fields)
        json.push_back({{"name", field.name}, {"text", field.text}});
    return json;
}

} // namespace

Json to_json(const Conversion& conversion)
{
    Json changes = Json::array();
    for (const Change& change : conversion.changes)
        changes.push_back({{"kind", name_of(change.kind)}, {"count", change.count}, {"what", change.what}});
    return {{"kvn", "conversion"},
            {"version", JSON_VERSION},
            {"error", nullptr},
            {"source", conversion.source},
            {"source_format", format_name(conversion.source_format)},
            {"target", conversion.target},
            {"format", format_name(conversion.format)},
            {"bytes", conversion.bytes},
            {"bits", conversion.bits},
            {"digest", conversion.digest},
            {"part", conversion.part},
            {"kept", fields_json(conversion.kept)},
            {"lost", fields_json(conversion.lost)},
            {"normalised", conversion.normalised},
            {"changes", std::move(changes)},
            {"problems", problems_json(conversion.problems)}};
}

} // namespace kvn
