// SPDX-License-Identifier: Apache-2.0
// The Mw... functions come from a library that the program is linked with: here the virtual carriers.
//     linked FILE
#include <kvn_fpga.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    kvn_fpga fpga;
    fpga.kvn_fpga_set_userprint([](char*) {}); // without this each step is printed
    char board[] = "mwc4a";
    if (fpga.kvn_fpga_board(board, 0, 1, argv[1], 0, 0) != 0) { // slot 1 of board 0; configure; no questions
        (void)std::fprintf(stderr, "%s\n", fpga.kvn_fpga_getlasterr());
        return 1;
    }
    std::printf("mwc4a:0/1 runs %s\n", argv[1]);
    return 0;
}
