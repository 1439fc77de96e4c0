// SPDX-License-Identifier: Apache-2.0
// What a rehearsal reads as text: plans of both kinds, manifests, and inventories of workers. The first byte
// says which.
#include "errors/failure.h"
#include "plan/new_plan.h"
#include "require.h"
#include "run/inventory.h"
#include "run/manifest.h"
#include "target.h"
#include "workplace.h"

#include <algorithm>
#include <string>

namespace
{
/// Every second name exists.
class SomeFiles final : public kvn::FileFinder
{
public:
    [[nodiscard]] bool exists(const std::string& path) const override { return path.size() % 2 == 0; }
};

class AnyFiles final : public kvn::FileFinder
{
public:
    [[nodiscard]] bool exists(const std::string& /*path*/) const override { return true; }
};

bool is_same(const kvn::PlannedModule& before, kvn::PlannedModule after)
{
    after.place = before.place;
    after.file = before.file;
    return before == after;
}

/// What was read can be written and read again, if it can be written at all.
void check_plan(const kvn::Plan& plan)
{
    for (const kvn::Finding& finding : plan.findings)
        require(!finding.what.empty() && finding.place.file == plan.file, "a finding says what and where");
    require(!plan.modules.empty() || !plan.findings.empty(), "a plan without modules has a finding");
    std::string text;
    try {
        text = kvn::new_plan_text(plan.modules, "again");
    } catch (const kvn::FailureError&) {
        return;
    }
    const kvn::Plan again = kvn::read_toml_plan(text, "again.toml", AnyFiles{});
    require(std::ranges::equal(plan.modules, again.modules, is_same),
            "a plan is the same when it is read again");
}

void check_manifest(const std::string& text)
{
    try {
        const kvn::Manifest manifest = kvn::Manifest::parse(text, "approved.txt");
        require(manifest.size() != 0 && manifest.sha256().size() == 64, "a manifest approves something");
        require(manifest.holds(text.substr(text.front() == '\\' ? 1 : 0, 64)) ||
                    text.find_first_of("ABCDEF") != std::string::npos,
                "the first line is read");
    } catch (const kvn::FailureError& error) {
        require(error.failure().status == kvn::ExitStatus::usage &&
                    std::string_view{error.what()}.starts_with("approved.txt:"),
                "a mistake is told with its place");
    }
}

void check_inventory(const std::string& text)
{
    const kvn::Json json = kvn::Json::parse(text, nullptr, false);
    if (json.is_discarded())
        return;
    try {
        const kvn::BusInventory inventory = kvn::read_bus_inventory(json);
        const kvn::Json again = to_json(inventory);
        require(to_json(kvn::read_bus_inventory(again)) == again,
                "an inventory is the same when it is read again");
    } catch (const kvn::FailureError& error) {
        require(error.failure().status == kvn::ExitStatus::internal, "what is no inventory is refused");
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string text{reinterpret_cast<const char*>(data + 1), size - 1};
    switch (*data) {
    case 'c':
        check_plan(kvn::read_con_plan(text, "rack.con", kvn::ConReading::strict, SomeFiles{}));
        break;
    case 'o':
        check_plan(kvn::read_con_plan(text, "rack.con", kvn::ConReading::classic, AnyFiles{}));
        break;
    case 't':
        check_plan(kvn::read_toml_plan(text, "rack.toml", AnyFiles{}));
        break;
    case 'm':
        check_manifest(text);
        break;
    case 'i':
        check_inventory(text);
        break;
    default:
        break;
    }
    return 0;
}
