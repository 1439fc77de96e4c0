// SPDX-License-Identifier: Apache-2.0
// The operators that allocate, failing as planned.
#include "support/allocation_faults.h"

#include <cstdlib>
#include <new>

namespace
{
void* allocate_or_null(std::size_t size, const void* caller)
{
    return AllocationPlan::fails_now(caller) ? nullptr : std::malloc(size);
}

void* allocate(std::size_t size, const void* caller)
{
    void* memory = allocate_or_null(size, caller);
    if (memory == nullptr)
        throw std::bad_alloc{};
    return memory;
}
} // namespace

void* operator new(std::size_t size)
{
    return allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size)
{
    return allocate(size, __builtin_return_address(0));
}
// The address sanitizer has these of its own, whose memory the operators below must not release.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return allocate_or_null(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return allocate_or_null(size, __builtin_return_address(0));
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
