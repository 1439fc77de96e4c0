// SPDX-License-Identifier: Apache-2.0
#include "system/descriptor.h"

#include <unistd.h>

void kvn::system::close_descriptor(int number) noexcept
{
    (void)::close(number);
}
