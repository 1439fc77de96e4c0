// SPDX-License-Identifier: Apache-2.0
#include "system/descriptor.h"

#include <io.h>

void kvn::system::close_descriptor(int number) noexcept
{
    (void)::_close(number);
}
