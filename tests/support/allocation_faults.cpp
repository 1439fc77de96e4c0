// SPDX-License-Identifier: Apache-2.0
// Makes allocations fail: which one.
#include "support/allocation_faults.h"

namespace
{
thread_local AllocationPlan* current = nullptr;
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
