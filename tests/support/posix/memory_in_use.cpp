// SPDX-License-Identifier: Apache-2.0
// The memory that this process has allocated.
#include "support/memory_in_use.h"

#include <malloc.h>

std::size_t memory_in_use()
{
    return mallinfo2().uordblks;
}
