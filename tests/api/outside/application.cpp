// SPDX-License-Identifier: Apache-2.0
// An outside application's use of the library: a run that reaches the host's platform functions.
#include <kvn_fpga.h>

#include <cstdio>
#include <cstring>

extern "C" int run_application()
{
    FILE* file = std::fopen("outside_design.rbt", "w");
    if (file == nullptr || std::fclose(file) != 0)
        return 1;
    kvn_fpga fpga;
    char type[] = "mwc4a";
    char name[] = "outside_design";
    const int number = fpga.kvn_fpga_board(type, 6, 1, name, 0, 0);
    std::puts(fpga.kvn_fpga_getlasterr());
    const char* expected = "Error 9201. Cannot open KSB device on board \"mwc4a 6\" (the host's code 41).";
    return number == 9201 && std::strcmp(fpga.kvn_fpga_getlasterr(), expected) == 0 ? 0 : 1;
}
