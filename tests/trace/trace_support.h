// Traces as tests write and read them.
#ifndef KVN_FPGA_TESTS_TRACE_SUPPORT_H
#define KVN_FPGA_TESTS_TRACE_SUPPORT_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

/// A test with a folder of its own, removed afterwards.
class FolderTest : public testing::Test
{
protected:
    FolderTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kvn_trace_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error{"no temporary folder"};
        folder = name;
    }
    ~FolderTest() override
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

    void write(const std::string& file, const std::string& text) const
    {
        std::ofstream{path(file), std::ios::binary} << text;
    }

    std::filesystem::path folder;
};

inline const std::string FIRST_LINE =
    R"({"trace":"mwapi","version":1,"provider":"test","started":"2006-02-17T12:00:00Z"})"
    "\n";

#endif
