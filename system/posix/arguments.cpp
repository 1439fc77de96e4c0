// SPDX-License-Identifier: Apache-2.0
#include "system/arguments.h"

kvn::system::Arguments::Arguments(int argc, char** argv) : words_{argv, argv + argc}
{
    words_.push_back(nullptr);
}
