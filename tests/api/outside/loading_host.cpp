// SPDX-License-Identifier: Apache-2.0
// A host that loads the platform functions with one library, then kvn_fpga with another.
//     loading_host <platform> <application>
#include <dlfcn.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    if (dlopen(argv[2], RTLD_NOW) != nullptr) {
        std::puts("kvn_fpga was loaded although its functions are missing");
        return 1;
    }
    void* platform = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    void* application = platform == nullptr ? nullptr : dlopen(argv[2], RTLD_NOW);
    if (application == nullptr) {
        std::puts(dlerror());
        return 1;
    }
    const auto run_application = reinterpret_cast<int (*)()>(dlsym(application, "run_application"));
    return run_application == nullptr ? 1 : run_application();
}
