// SPDX-License-Identifier: Apache-2.0
// A program that has none of the platform's functions, beside a mwapi.dll.
#include "kvn_fpga.h"
#include "support/folder_test.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using HostWithMakersLibrary = FolderTest;

TEST_F(HostWithMakersLibrary, Error9201HasTheWordsOfTheMakersLibrary)
{
    kvn_fpga fpga;
    std::string board = "mwc9z";
    write("design.rbt", "Xilinx ASCII Bitstream\n");
    std::string file = path("design.rbt");
    EXPECT_EQ(fpga.kvn_fpga_board(board.data(), 0, 1, file.data(), 0, 0), 9201);
    EXPECT_STREQ(fpga.kvn_fpga_getlasterr(),
                 "Error 9201. Cannot open KSB device on board \"mwc9z 0\" (the rack has no such board).");
}

} // namespace
