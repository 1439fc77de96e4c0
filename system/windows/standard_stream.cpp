// SPDX-License-Identifier: Apache-2.0
#include "system/standard_stream.h"

bool kvn::system::replace_stdout(void* /*context*/,
                                 void (* /*take*/)(void* context, std::string_view text)) noexcept
{
    return false;
}
