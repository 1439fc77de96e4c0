// SPDX-License-Identifier: Apache-2.0
// Environment variables of the test's own process.
#include "support/environment.h"

#include <stdlib.h>

void set_variable(const char* name, const std::string& value)
{
    ::setenv(name, value.c_str(), 1);
}

void unset_variable(const char* name)
{
    ::unsetenv(name);
}
