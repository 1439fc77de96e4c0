// SPDX-License-Identifier: Apache-2.0
// Whether a function is the C library's own: that is a library of the system's, which calls none of the
// operators.
#include "support/allocation_faults.h"

bool is_in_c_library(const void* /*caller*/)
{
    return false;
}
