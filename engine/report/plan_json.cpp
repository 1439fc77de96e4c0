// SPDX-License-Identifier: Apache-2.0
// The JSON documents about plans and inventories.
#include "report/plan_json.h"

#include "report/json.h"
#include "report/module_json.h"

namespace kvn
{
namespace
{

template <class Part>
Json list_of(std::span<const Part> parts)
{
    Json all = Json::array();
    for (const Part& part : parts)
        all.push_back(to_json(part));
    return all;
}

} // namespace

Json to_json(const Finding& finding)
{
    return {{"severity", finding.severity == Severity::problem ? "problem" : "note"},
            {"where", finding.place.text()},
            {"what", finding.what},
            {"remedy", text_or_null(finding.remedy)}};
}

Json to_json(const PlannedModule& module)
{
    return {{"module", to_text(module.module)},
            {"label", text_or_null(module.label)},
            {"file", module.file},
            {"load", name_of(module.mode)},
            {"device", value_or_null(module.device)},
            {"digest", value_or_null(module.digest)},
            {"serial", module.asks_serial_number ? Json("ask") : value_or_null(module.serial_number)},
            {"timeout", value_or_null(module.timeout)},
            {"retries", value_or_null(module.retries)}};
}

Json plan_document(const std::string& file, std::span<const PlannedModule> modules,
                   std::span<const Finding> findings)
{
    Json json = json_document("plan");
    json["file"] = file;
    json["modules"] = list_of(modules);
    json["findings"] = list_of(findings);
    return json;
}

Json inventory_document(const ProviderIdentity& provider, const Plan& plan,
                        std::span<const BusInventory> inventory, const Rehearsal& comparison)
{
    Json json = json_document("inventory");
    json["provider"] = to_json(provider);
    json["plan"] = plan.file;
    json["expected"] = list_of(std::span<const PlannedModule>{plan.modules});
    json["buses"] = list_of(inventory);
    json["findings"] = list_of(std::span<const Finding>{comparison.findings});
    json["fits"] = !comparison.has_problem();
    return json;
}

} // namespace kvn
