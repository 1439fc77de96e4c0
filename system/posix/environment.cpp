// SPDX-License-Identifier: Apache-2.0
#include "system/environment.h"

#include <cstdlib>

void kvn::system::set_variable(const char* name, const char* value)
{
    (void)setenv(name, value, 1); // NOLINT(concurrency-mt-unsafe): as the header says
}
