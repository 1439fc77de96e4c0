// SPDX-License-Identifier: Apache-2.0
// Environment variables of the test's own process. The C library keeps a copy of them; both are changed.
#include "support/environment.h"

#include <windows.h>

#include <cstdlib>

void set_variable(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str());
    // The C library takes an empty value for none.
    SetEnvironmentVariableA(name, value.c_str());
}

void unset_variable(const char* name)
{
    _putenv_s(name, "");
    SetEnvironmentVariableA(name, nullptr);
}
