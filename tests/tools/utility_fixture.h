// Runs of KVN_FPGA in a temporary folder.
#ifndef KVN_FPGA_TESTS_TOOLS_UTILITY_FIXTURE_H
#define KVN_FPGA_TESTS_TOOLS_UTILITY_FIXTURE_H

#include "process.h"
#include "support/bitstreams.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class UtilityTest : public testing::Test
{
protected:
    UtilityTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kvn_utility_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error{"no temporary folder"};
        folder = name;
    }
    ~UtilityTest() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    [[nodiscard]] std::string path(const std::string& file) const { return (folder / file).string(); }

    [[nodiscard]] std::string content(const std::string& file) const
    {
        std::ifstream stream{path(file), std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    [[nodiscard]] std::vector<std::string> lines(const std::string& file) const
    {
        std::vector<std::string> all;
        std::ifstream stream{path(file)};
        for (std::string line; std::getline(stream, line);)
            all.push_back(line);
        return all;
    }

    /// KVN_FPGA with these arguments and the fixture's variables.
    [[nodiscard]] Command kvn_fpga(std::vector<std::string> arguments) const
    {
        return {KVN_FPGA_PROGRAM, std::move(arguments), folder, variables};
    }

    /// The platform of the following runs is the tests' own: one module with a 2v40cs144-4, in slot 2.
    void use_test_provider()
    {
        variables["KVN_MWAPI"] = TEST_PROVIDER;
        variables["KVN_TEST_JOURNAL"] = path("journal");
    }

    /// An RBT file for the module of the tests' own platform.
    void write_rbt(const std::string& name, std::size_t words = 8) const
    {
        RbtFile{words}.device("2v40cs144").write(path(name));
    }

    std::filesystem::path folder;
    std::map<std::string, std::string> variables;
};

#endif
