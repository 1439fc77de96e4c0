// SPDX-License-Identifier: Apache-2.0
// What both kinds of plans have in common.
#include "plan/plan.h"

#include "file/text_file.h"
#include "hashing/sha256.h"
#include "plan/plan_findings.h"
#include "system/path_text.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace kvn
{
namespace
{

class RealFiles final : public FileFinder
{
public:
    [[nodiscard]] bool exists(const std::string& path) const override
    {
        std::error_code unused;
        return std::filesystem::exists(system::path_of(path), unused);
    }
};

/// Two names of one module: of the bus only the type of its boards counts, since a board can be reached over
/// several.
bool is_same_module(const ModuleName& first, const ModuleName& second)
{
    return first.board.type == second.board.type && first.carrier() == second.carrier() &&
           first.slot == second.slot;
}

} // namespace

std::string PlanPlace::text() const
{
    return line == 0 ? file : file + ":" + std::to_string(line);
}

bool Plan::has_problem() const
{
    return std::ranges::any_of(findings,
                               [](const Finding& finding) { return finding.severity == Severity::problem; });
}

const FileFinder& real_files()
{
    static const RealFiles files;
    return files;
}

void add_module(Plan& plan, PlannedModule module)
{
    const auto before = std::ranges::find_if(
        plan.modules, [&](const PlannedModule& each) { return is_same_module(each.module, module.module); });
    if (before != plan.modules.end())
        plan.findings.push_back(
            {Severity::problem, module.place,
             to_text(module.module) + " is the module of " + before->place.text() + " again",
             "name each module once"});
    else
        plan.modules.push_back(std::move(module));
}

std::string beside(const std::string& plan, const std::string& name)
{
    const std::filesystem::path path = system::path_of(name);
    if (path.is_absolute())
        return name;
    const std::filesystem::path whole = system::path_of(plan).parent_path() / path;
    // Who writes names with slashes sees them with slashes.
    const bool has_backslash = (plan + name).find('\\') != std::string::npos;
    return has_backslash ? system::text_of(whole) : system::text_with_slashes_of(whole);
}

Plan read_plan(const std::string& path, ConReading reading, const FileFinder& files)
{
    const std::string text =
        read_text_file(path, {.what = "plan", .remedy = "name a plan: a .con file, or a plan file in .toml"});
    Plan plan = path.ends_with(".toml") ? read_toml_plan(text, path, files)
                                        : read_con_plan(text, path, reading, files);
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    plan.sha256 = sum.finish();
    return plan;
}

} // namespace kvn
