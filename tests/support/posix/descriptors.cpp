// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process.
#include "support/descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <stdexcept>

std::size_t count_descriptors()
{
    const std::filesystem::directory_iterator open_files{"/proc/self/fd"};
    return static_cast<std::size_t>(std::distance(begin(open_files), end(open_files)));
}

int open_for_writing(const std::string& file)
{
    return open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}

std::array<int, 2> make_pipe()
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error{"there is no pipe"};
    return ends;
}

Redirected::Redirected(int descriptor, int to) : descriptor_{descriptor}, before_{dup(descriptor)}
{
    if (dup2(to, descriptor) < 0)
        throw std::runtime_error{"no such descriptor"};
    (void)close(to);
}

Redirected::~Redirected()
{
    (void)dup2(before_, descriptor_);
    (void)close(before_);
}
