// SPDX-License-Identifier: Apache-2.0
// Commands on virtual boards that outlive their processes: two boards with two modules each.
#ifndef KVN_TESTS_WINDOWS_COMMANDS_FIXTURE_H
#define KVN_TESTS_WINDOWS_COMMANDS_FIXTURE_H

#include "support/folder_test.h"
#include "support/process.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

class WindowsCommands : public FolderTest
{
protected:
    void SetUp() override
    {
        for (const char* each : {"state", "locks"})
            std::filesystem::create_directory(folder / each);
        variables = {{"KVN_MWAPI", "virtual"},
                     {"MWVIRTUAL_STATE", path("state")},
                     {"KVN_LOCK_FOLDER", path("locks")},
                     {"MWVIRTUAL_RACK", path("rack.toml")}};
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, {"2v40cs144-4", "-o", "design.bit"}, folder, {}}).status, 0);
        use_boards();
        plan({"mwc4a:0/1", "mwc4a:0/2", "mwc4a:1/1", "mwc4a:1/2"});
    }

    /// @param more lines of each board
    void use_boards(const std::string& more = "") const
    {
        std::string rack;
        for (const char* board : {"0", "1"}) {
            rack += std::string{"[[board]]\ntype = \"mwc4a\"\nnumber = "} + board + "\n" + more;
            for (const char* slot : {"1", "2"})
                rack += std::string{"[[board.slot]]\nnumber = "} + slot +
                        "\nkind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n";
        }
        write("rack.toml", rack);
    }
    /// @param more lines of each module
    void plan(const std::vector<std::string>& modules, const std::string& more = "") const
    {
        std::string text;
        for (const std::string& module : modules)
            text += "[[module]]\nmodule = \"" + module + "\"\nfile = \"design.bit\"\n" + more;
        write("plan.toml", text);
    }

    [[nodiscard]] Command kvn(std::vector<std::string> arguments) const
    {
        return {KVN_PROGRAM, std::move(arguments), folder, variables};
    }
    /// "mwc4a:0/1 running, mwc4a:0/2 empty"
    [[nodiscard]] std::string states() const
    {
        const Outcome shown = run({KVN_RACK_PROGRAM, {"state", "--json"}, folder, {}});
        const nlohmann::json document = nlohmann::json::parse(shown.output);
        std::string all;
        for (const auto& module : document["modules"])
            all += (all.empty() ? "" : ", ") + module["module"].get<std::string>() + " " +
                   module["state"].get<std::string>();
        return all;
    }

    std::map<std::string, std::string> variables;
};

#endif
