// SPDX-License-Identifier: Apache-2.0
// The program chooses at run time which library brings the Mw... functions.
//     loaded PROVIDER FILE
#include <kvn_fpga.h>

#include <dlfcn.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    // RTLD_GLOBAL: kvn_fpga finds the functions among the process's symbols, at its first call of each.
    if (dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        (void)std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    kvn_fpga fpga;
    fpga.kvn_fpga_set_userprint([](char*) {}); // without this each step is printed
    char board[] = "mwc4a";
    if (fpga.kvn_fpga_board(board, 0, 1, argv[2], 0, 0) != 0) {
        (void)std::fprintf(stderr, "%s\n", fpga.kvn_fpga_getlasterr());
        return 1;
    }
    std::printf("mwc4a:0/1 runs %s\n", argv[2]);
    return 0;
}
