// SPDX-License-Identifier: Apache-2.0
// Environment variables of the test's own process.
#include "support/environment.h"

#include <cstdlib>

EnvironmentVariable::EnvironmentVariable(const char* name) : name_{name}
{
    if (const char* value = std::getenv(name))
        before_ = value;
    unset();
}

EnvironmentVariable::~EnvironmentVariable()
{
    if (before_)
        set(*before_);
    else
        unset();
}
