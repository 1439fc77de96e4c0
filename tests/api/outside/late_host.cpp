// SPDX-License-Identifier: Apache-2.0
// A host that is linked with kvn_fpga and loads the platform functions before its first run.
//     late_host <platform>
#include <dlfcn.h>

#include <cstdio>

extern "C" int run_application();

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    if (dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        std::puts(dlerror());
        return 1;
    }
    return run_application();
}
