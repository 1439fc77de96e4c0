// SPDX-License-Identifier: Apache-2.0
// Files that are not regular.
#include "support/special_files.h"

#include <stdexcept>

void make_fifo(const std::string& path)
{
    throw std::runtime_error{"no fifo " + path};
}

const char* const FULL_FILE = R"(\\?\unix\dev\full)";
const char* const ENDLESS_FILE = R"(\\?\unix\dev\zero)";
