// SPDX-License-Identifier: Apache-2.0
#include "support/console_stream.h"

#include <io.h>

bool is_console_stream(FILE* stream)
{
    return _isatty(_fileno(stream)) != 0;
}
