// SPDX-License-Identifier: Apache-2.0
// The end of a process that nothing in it takes part in.
#include "support/sudden_end.h"

#include <csignal>
#include <cstdlib>

void end_suddenly()
{
    (void)std::raise(SIGKILL);
    std::abort();
}

const char* const SUDDEN_END = "was ended by signal 9 (Killed)";
