// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process.
#include "support/descriptors.h"

#include <fcntl.h>

#include <filesystem>
#include <iterator>

std::size_t count_descriptors()
{
    const std::filesystem::directory_iterator open_files{"/proc/self/fd"};
    return static_cast<std::size_t>(std::distance(begin(open_files), end(open_files)));
}

int open_for_writing(const std::string& file)
{
    return open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}
