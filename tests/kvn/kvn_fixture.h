// Runs of kvn on example bitstreams in a temporary folder.
#ifndef KVN_FPGA_TESTS_KVN_FIXTURE_H
#define KVN_FPGA_TESTS_KVN_FIXTURE_H

#include "../tools/process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class KvnTest : public testing::Test
{
protected:
    KvnTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kvn_inspect_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error{"no temporary folder"};
        folder = name;
    }
    ~KvnTest() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

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

    [[nodiscard]] std::string content(const std::string& file) const
    {
        std::ifstream stream{folder / file, std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    void write(const std::string& file, const std::string& text) const
    {
        std::ofstream{folder / file, std::ios::binary} << text;
    }

    std::filesystem::path folder;
};

#endif
