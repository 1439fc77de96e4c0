/* SPDX-License-Identifier: Apache-2.0
 * The header compiles by itself, in C and in C++. */
#include "kvn.h"

int kvn_header_alone(void);
int kvn_header_alone(void)
{
    kvn_record record;
    record.size = sizeof record;
    return (int)record.size;
}
