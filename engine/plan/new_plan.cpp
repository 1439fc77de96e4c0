// SPDX-License-Identifier: Apache-2.0
// Makes plans: of the rack that is there, and of other plans.
#include "plan/new_plan.h"

#include "errors/failure.h"
#include "formats/device_match.h"
#include "system/path_text.h"

#include <algorithm>
#include <filesystem>

namespace kvn
{
namespace
{

/// Whether a file exists is another question.
class AnyFiles final : public FileFinder
{
public:
    [[nodiscard]] bool exists(const std::string& /*path*/) const override { return true; }
};

std::string file_for(const std::string& device, std::span<const Inspection> files)
{
    const auto suits = [&](const Inspection& file) {
        return !device.empty() && !file.part.empty() && suits_device(device.c_str(), file.part.c_str());
    };
    const auto found = std::ranges::find_if(files, suits);
    const bool is_only_one = std::ranges::count_if(files, suits) == 1;
    return is_only_one ? found->path : FILE_TO_FILL_IN;
}

} // namespace

std::vector<PlannedModule> plan_of_rack(std::span<const BoardRow> boards, std::span<const Inspection> files)
{
    std::vector<PlannedModule> modules;
    for (const BoardRow& board : boards)
        for (const SlotRow& slot : board.slots) {
            if (slot.kind != SlotKind::module || slot.failure || !slot.module)
                continue;
            const std::string device = slot.module->device.value_or("");
            PlannedModule module;
            module.module = slot.name;
            module.file = file_for(device, files);
            if (!device.empty())
                module.device = device;
            modules.push_back(std::move(module));
        }
    return modules;
}

std::string name_in_plan(const std::string& plan, const std::string& file)
{
    namespace fs = std::filesystem;
    const fs::path whole = fs::absolute(system::path_of(file)).lexically_normal();
    const fs::path near =
        whole.lexically_relative(fs::absolute(system::path_of(plan)).lexically_normal().parent_path());
    // Above the folder, names would mean something else where the folder is reached by a link.
    const bool lies_below = !near.empty() && *near.begin() != "..";
    // The plan may be read on another system.
    return lies_below ? system::text_with_slashes_of(near) : system::text_of(whole);
}

std::string new_plan_text(const std::vector<PlannedModule>& modules, const std::string& comment)
{
    std::string text = write_plan(modules, comment);
    const Plan plan = read_toml_plan(text, "the plan", AnyFiles{});
    if (plan.has_problem() || plan.modules.size() != modules.size())
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "the modules cannot be written as a plan file",
                            .why = plan.findings.empty() ? "" : plan.findings.front().what,
                            .remedy = plan.findings.empty() ? "" : plan.findings.front().remedy}};
    return text;
}

} // namespace kvn
