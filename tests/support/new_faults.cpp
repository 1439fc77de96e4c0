// SPDX-License-Identifier: Apache-2.0
// The operators that allocate, failing as planned.
#include "support/allocation_faults.h"

#include <cstdlib>
#include <new>

namespace
{
void* allocate(std::size_t size, const void* caller)
{
    void* memory = AllocationPlan::fails_now(caller) ? nullptr : std::malloc(size);
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
