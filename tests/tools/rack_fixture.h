// SPDX-License-Identifier: Apache-2.0
// The program kvn_rack beside loads of KVN_FPGA.
#ifndef KVN_FPGA_TESTS_TOOLS_RACK_FIXTURE_H
#define KVN_FPGA_TESTS_TOOLS_RACK_FIXTURE_H

#include "hashing/sha256.h"
#include "utility_fixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>

class Rack : public UtilityTest
{
protected:
    Rack()
    {
        std::filesystem::create_directory(path("state"));
        variables["KVN_MWAPI"] = "virtual";
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        variables["MWVIRTUAL_STATE"] = path("state");
        std::string rack;
        for (const char* board : {"0", "1"}) {
            rack += std::string{"[[board]]\ntype = \"mwc4a\"\nnumber = "} + board + '\n';
            for (const char* slot : {"1", "2"})
                rack += std::string{"[[board.slot]]\nnumber = "} + slot +
                        "\nkind = \"fpga\"\nmodel = 3\ndevice = \"2v250fg456-4\"\n";
        }
        write("rack.toml", rack);
        make("2v250fg456", "good.rbt", {});
    }

    void make(const std::string& device, const std::string& file, std::vector<std::string> options) const
    {
        options.insert(options.begin(), {device, "-o", file});
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, options, folder}).status, 0);
    }
    [[nodiscard]] Command load_of(const std::string& file, const std::string& board,
                                  const std::string& slot) const
    {
        return kvn_fpga({"-u", "-f" + file, "-dmwc4a", "-b" + board, "-s" + slot});
    }
    [[nodiscard]] int load(const std::string& file, const std::string& board, const std::string& slot) const
    {
        return run(load_of(file, board, slot)).status;
    }
    [[nodiscard]] Outcome kvn_rack(std::vector<std::string> arguments, Output output = Output::kept) const
    {
        return run({KVN_RACK_PROGRAM, std::move(arguments), folder}, "", output);
    }
    /// What kvn_rack tells of the folder, as JSON.
    [[nodiscard]] nlohmann::json shown() const
    {
        const Outcome outcome = kvn_rack({"state", "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        nlohmann::json json = nlohmann::json::parse(outcome.output, nullptr, false);
        EXPECT_EQ(json["kvn_rack"], "state") << outcome.output;
        EXPECT_EQ(json["exit_status"], outcome.status);
        return json;
    }
    [[nodiscard]] nlohmann::json module(const std::string& name) const
    {
        const nlohmann::json all = shown();
        for (const nlohmann::json& each : all["modules"])
            if (each["module"] == name)
                return each;
        return {};
    }
    [[nodiscard]] std::string digest_of_bits(const std::string& file) const
    {
        const std::string bytes = content("state/" + file);
        hashing::Sha256 digest;
        digest.take({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
        return digest.finish();
    }
};

#endif
