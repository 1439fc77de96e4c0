// SPDX-License-Identifier: Apache-2.0
/* The platform's functions can be provided by a library written in C. */
#include "mwapi.h"

uint32_t MwClose(MW_HANDLE** handle)
{
    *handle = 0;
    return 0;
}
