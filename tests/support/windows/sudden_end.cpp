// SPDX-License-Identifier: Apache-2.0
// The end of a process that nothing in it takes part in.
#include "support/sudden_end.h"

#include <windows.h>

#include <cstdlib>

void end_suddenly()
{
    (void)TerminateProcess(GetCurrentProcess(), 9);
    std::abort();
}

const char* const SUDDEN_END = "ended with status 9";
