// SPDX-License-Identifier: Apache-2.0
// A test with a folder of its own.
#ifndef KVN_FPGA_TESTS_SUPPORT_FOLDER_TEST_H
#define KVN_FPGA_TESTS_SUPPORT_FOLDER_TEST_H

#include "support/files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

class FolderTest : public testing::Test
{
protected:
    [[nodiscard]] std::string path(const std::string& file) const { return (folder / file).string(); }
    [[nodiscard]] std::string content(const std::string& file) const
    {
        return read_whole_file(folder / file);
    }
    [[nodiscard]] std::vector<std::string> lines(const std::string& file) const
    {
        std::vector<std::string> all;
        std::istringstream text{content(file)};
        for (std::string line; std::getline(text, line);)
            all.push_back(line);
        return all;
    }
    void write(const std::string& file, std::string_view text) const
    {
        write_whole_file(folder / file, text);
    }

private:
    TemporaryFolder temporary_;

protected:
    const std::filesystem::path& folder = temporary_.path();
};

#endif
