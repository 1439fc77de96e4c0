// SPDX-License-Identifier: Apache-2.0
// The C library's functions that allocate: malloc fails as planned, and blocks are counted.
#include "support/allocation_faults.h"

#include <cerrno>
#include <cstddef>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): names of the C library
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace
{
thread_local long blocks = 0;

void* counted(void* block)
{
    if (block != nullptr)
        ++blocks;
    return block;
}
} // namespace

long blocks_from_malloc()
{
    return blocks;
}

extern "C" {
void* malloc(std::size_t size)
{
    if (!AllocationPlan::fails_now(__builtin_return_address(0)))
        return counted(__libc_malloc(size));
    errno = ENOMEM;
    return nullptr;
}
void* calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size)
{
    void* const moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}
void free(void* block)
{
    if (block != nullptr)
        --blocks;
    __libc_free(block);
}
}
