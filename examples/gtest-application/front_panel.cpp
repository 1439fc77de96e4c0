// SPDX-License-Identifier: Apache-2.0
// The part of an application that configures modules.
#include "front_panel.h"

#include <kvn_fpga.h>

namespace
{
void print_nothing(char*) {}
} // namespace

std::string configure_module(int slot, const std::string& bitstream)
{
    constexpr int configure = 0;
    constexpr int silent = 0;
    constexpr int tries = 2;
    kvn_fpga loader;
    loader.kvn_fpga_set_userprint(print_nothing);
    for (int i = 0; i < tries; ++i) {
        std::string board = "mwc4a";
        std::string file = bitstream;
        if (loader.kvn_fpga_board(board.data(), 0, slot, file.data(), configure, silent) == 0)
            return "ready";
    }
    return loader.kvn_fpga_getlasterr();
}
