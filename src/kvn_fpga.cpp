// SPDX-License-Identifier: Apache-2.0
// The public class: forwards, nothing else.
#include "kvn_fpga.h"

#include "kvnfpgai.h"

kvn_fpga::kvn_fpga() : imp{new kvn_fpga_imp} {}

kvn_fpga::~kvn_fpga()
{
    delete imp;
}

int kvn_fpga::kvn_fpga_board(char* devstr, int board_number, int kavrinid, char* rbtfile, int action,
                             int flags)
{
    return imp->kvn_fpga_board(devstr, board_number, kavrinid, rbtfile, action, flags);
}

int kvn_fpga::kvn_fpga_handle(MW_HANDLE* handle, int kavrinid, char* rbtfile, int action, int flags)
{
    return imp->kvn_fpga_handle(handle, kavrinid, rbtfile, action, flags);
}

int kvn_fpga::kvn_fpga_main(MW_HANDLE* handle, int argc, char** argv)
{
    return imp->kvn_fpga(handle, argc, argv);
}

int kvn_fpga::kvn_fpga_main(int argc, char** argv)
{
    return imp->kvn_fpga(argc, argv);
}

char* kvn_fpga::kvn_fpga_getlasterr()
{
    return imp->kvn_fpga_getlasterr();
}

int kvn_fpga::kvn_fpga_set_userfie(int (*fn)(char*, void*), int type)
{
    return imp->kvn_fpga_set_userfie(fn, type);
}

void kvn_fpga::kvn_fpga_set_userprint(void (*fn)(char*))
{
    imp->kvn_fpga_set_userprint(fn);
}

int kvn_fpga::kvn_fpga_help()
{
    return imp->kvn_fpga_help();
}

void kvn_fpga::kvn_fpga_version(int* major, int* minor, char** text)
{
    imp->kvn_fpga_version(major, minor, text);
}
