// SPDX-License-Identifier: Apache-2.0
// Files that are not regular.
#include "support/special_files.h"

#include <sys/stat.h>

#include <stdexcept>

void make_fifo(const std::string& path)
{
    if (mkfifo(path.c_str(), 0600) != 0)
        throw std::runtime_error{"no fifo " + path};
}

const char* const FULL_FILE = "/dev/full";
const char* const ENDLESS_FILE = "/dev/zero";
