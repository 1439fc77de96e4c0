// SPDX-License-Identifier: Apache-2.0
// Runs of kvn on example bitstreams in a temporary folder.
#ifndef KVN_FPGA_TESTS_KVN_FIXTURE_H
#define KVN_FPGA_TESTS_KVN_FIXTURE_H

#include "support/folder_test.h"
#include "support/process.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

class KvnTest : public FolderTest
{
protected:
    /// Writes an example bitstream; the extension is the format, .mcb by way of the utility.
    void make(const std::string& device, const std::string& file, const std::string& defect = "") const
    {
        const bool is_mcb = file.ends_with(".mcb");
        const std::string source =
            is_mcb ? std::filesystem::path{file}.replace_extension(".bit").string() : file;
        std::vector<std::string> arguments{device, "-o", source};
        if (!defect.empty())
            arguments.insert(arguments.end(), {"--defect", defect});
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, arguments, folder, {}}).status, 0);
        if (is_mcb) {
            ASSERT_EQ(run({KVN_FPGA_PROGRAM, {"-c", "-f" + source}, folder, {}}).status, 0);
        }
    }

    [[nodiscard]] Outcome kvn(std::vector<std::string> arguments) const
    {
        return run({KVN_PROGRAM, std::move(arguments), folder, {}});
    }

    [[nodiscard]] nlohmann::json json(std::vector<std::string> arguments) const
    {
        arguments.emplace_back("--json");
        return nlohmann::json::parse(kvn(std::move(arguments)).output);
    }
};

#endif
