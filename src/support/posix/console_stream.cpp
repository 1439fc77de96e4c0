// SPDX-License-Identifier: Apache-2.0
#include "support/console_stream.h"

#include <stdio_ext.h>

// Line buffering identifies a terminal without a system call for each text.
bool is_console_stream(FILE* stream)
{
    return __flbf(stream) != 0;
}
