// SPDX-License-Identifier: Apache-2.0
// A program that has none of the platform's functions, beside a mwapi.dll.
#include "kvn_fpga.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace
{

/// A bitstream file that is there.
std::string some_file()
{
    const auto path = std::filesystem::temp_directory_path() / "kvn_host_test.rbt";
    std::ofstream{path} << "Xilinx ASCII Bitstream\n";
    return path.string();
}

TEST(HostWithMakersLibrary, Error9201HasTheWordsOfTheMakersLibrary)
{
    kvn_fpga fpga;
    std::string board = "mwc9z";
    std::string file = some_file();
    EXPECT_EQ(fpga.kvn_fpga_board(board.data(), 0, 1, file.data(), 0, 0), 9201);
    EXPECT_STREQ(fpga.kvn_fpga_getlasterr(),
                 "Error 9201. Cannot open KSB device on board \"mwc9z 0\" (the rack has no such board).");
}

} // namespace
