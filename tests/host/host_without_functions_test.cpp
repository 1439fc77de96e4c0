// SPDX-License-Identifier: Apache-2.0
// A program that has none of the platform's functions, where the maker's library is missing, too.
#include "kvn_fpga.h"
#include "support/folder_test.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using HostWithoutFunctions = FolderTest;

TEST_F(HostWithoutFunctions, Error9301HasTheCodeOfAMissingFunction)
{
    int device = 0;
    kvn_fpga fpga;
    std::string file = "design.rbt";
    EXPECT_EQ(fpga.kvn_fpga_handle(reinterpret_cast<MW_HANDLE*>(&device), 1, file.data(), 0, 0), 9301);
    EXPECT_STREQ(fpga.kvn_fpga_getlasterr(),
                 "Error 9301: kvn_fpga_handle: Cannot retrieve information from device "
                 "handle (API error 0xe3000004).");
}

TEST_F(HostWithoutFunctions, Error9201NamesTheMissingFunction)
{
    kvn_fpga fpga;
    std::string board = "mwc4a";
    write("design.rbt", "Xilinx ASCII Bitstream\n");
    std::string file = path("design.rbt");
    EXPECT_EQ(fpga.kvn_fpga_board(board.data(), 0, 1, file.data(), 0, 0), 9201);
    EXPECT_STREQ(fpga.kvn_fpga_getlasterr(),
                 "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (neither the "
                 "program nor mwapi.dll has the function MwOpenS).");
}

} // namespace
