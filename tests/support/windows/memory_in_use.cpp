// SPDX-License-Identifier: Apache-2.0
// The memory that this process has allocated: the C library takes it from a heap of the system.
#include "support/memory_in_use.h"

#include <windows.h>

#include <malloc.h>

#include <cstdint>

std::size_t memory_in_use()
{
    HANDLE heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    std::size_t size = 0;
    PROCESS_HEAP_ENTRY block{};
    while (HeapWalk(heap, &block) != 0)
        if ((block.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            size += block.cbData;
    return size;
}
