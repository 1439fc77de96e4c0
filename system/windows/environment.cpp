// SPDX-License-Identifier: Apache-2.0
#include "system/environment.h"

#include <cstdlib>

void kvn::system::set_variable(const char* name, const char* value)
{
    (void)_putenv_s(name, value);
}
