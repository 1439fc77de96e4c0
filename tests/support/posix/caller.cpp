// SPDX-License-Identifier: Apache-2.0
// Whether a function is the C library's own.
#include "support/allocation_faults.h"

#include <dlfcn.h>

#include <cstddef>

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): a name of the C library
extern "C" void* __libc_malloc(std::size_t size);

bool is_in_c_library(const void* caller)
{
    static const void* const library = [] {
        Dl_info info{};
        dladdr(reinterpret_cast<const void*>(&__libc_malloc), &info);
        return info.dli_fbase;
    }();
    Dl_info info{};
    return dladdr(caller, &info) != 0 && info.dli_fbase == library;
}
