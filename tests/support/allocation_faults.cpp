// SPDX-License-Identifier: Apache-2.0
// Makes allocations fail: which one.
#include "support/allocation_faults.h"

#include <dlfcn.h>

#include <cstddef>

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): a name of the C library
extern "C" void* __libc_malloc(std::size_t size);

namespace
{
thread_local AllocationPlan* current = nullptr;

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
} // namespace

AllocationPlan::Watch::Watch(AllocationPlan& plan)
{
    current = &plan;
}

AllocationPlan::Watch::~Watch()
{
    current = nullptr;
}

bool AllocationPlan::fails_now(const void* caller)
{
    return current != nullptr && current->fails(caller);
}

bool AllocationPlan::fails(const void* caller)
{
    if (whose_ != Allocator::any && is_in_c_library(caller) != (whose_ == Allocator::c_library))
        return false;
    ++allocations_;
    if (has_failed_)
        return later_too_;
    has_failed_ = allocations_ == failing_;
    return has_failed_;
}
