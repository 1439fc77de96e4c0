// SPDX-License-Identifier: Apache-2.0
// Two virtual boards with two modules each, which outlive the programs that load them, and a plan for all.
#ifndef KVN_FPGA_TESTS_KVN_TWO_BOARDS_H
#define KVN_FPGA_TESTS_KVN_TWO_BOARDS_H

#include "kvn_fixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

class KvnOnTwoBoards : public KvnOnBoards
{
protected:
    void SetUp() override
    {
        for (const char* each : {"state", "locks"})
            std::filesystem::create_directory(folder / each);
        variables["MWVIRTUAL_STATE"] = path("state");
        variables["KVN_LOCK_FOLDER"] = path("locks");
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        make("2v40cs144-4", "design.bit");
        use_boards();
        plan({"mwc4a:0/1", "mwc4a:0/2", "mwc4a:1/1", "mwc4a:1/2"});
    }

    /// @param of_boards, of_slots more lines of each
    void use_boards(const std::string& of_boards = "", const std::string& of_slots = "") const
    {
        std::string rack;
        for (const char* board : {"0", "1"}) {
            rack += std::string{"[[board]]\ntype = \"mwc4a\"\nnumber = "} + board + "\n" + of_boards;
            for (const char* slot : {"1", "2"})
                rack += std::string{"[[board.slot]]\nnumber = "} + slot +
                        "\nkind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n" + of_slots;
        }
        write("rack.toml", rack);
    }
    /// Writes plan.toml.
    /// @param more lines of each module
    void plan(const std::vector<std::string>& modules, const std::string& more = "") const
    {
        std::string text;
        for (const std::string& module : modules)
            text += "[[module]]\nmodule = \"" + module + "\"\nfile = \"design.bit\"\n" + more;
        write("plan.toml", text);
    }

    /// "mwc4a:0/1 running, mwc4a:0/2 empty": the modules that something has been sent to.
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

    static constexpr const char* ALL_RUNNING =
        "mwc4a:0/1 running, mwc4a:0/2 running, mwc4a:1/1 running, mwc4a:1/2 running";
};

#endif
