// SPDX-License-Identifier: Apache-2.0
// Plans over files that exist by name alone.
#ifndef KVN_FPGA_TESTS_ENGINE_PLAN_SUPPORT_H
#define KVN_FPGA_TESTS_ENGINE_PLAN_SUPPORT_H

#include "plan/plan.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

class NamedFiles final : public kvn::FileFinder
{
public:
    explicit NamedFiles(std::set<std::string> names) : names_{std::move(names)} {}
    [[nodiscard]] bool exists(const std::string& path) const override { return names_.contains(path); }

private:
    std::set<std::string> names_;
};

/// "rack.con:3: note: what -> remedy"
inline std::vector<std::string> told(const kvn::Plan& plan)
{
    std::vector<std::string> lines;
    for (const kvn::Finding& finding : plan.findings)
        lines.push_back(finding.place.text() + (finding.severity == kvn::Severity::note ? ": note: " : ": ") +
                        finding.what + (finding.remedy.empty() ? "" : " -> " + finding.remedy));
    return lines;
}

/// "mwc4a:0/2 main.rbt"
inline std::vector<std::string> named(const kvn::Plan& plan)
{
    std::vector<std::string> lines;
    for (const kvn::PlannedModule& module : plan.modules)
        lines.push_back(to_text(module.module) + " " + module.file);
    return lines;
}

#endif
