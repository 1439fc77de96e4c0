// SPDX-License-Identifier: Apache-2.0
// Whole files at once.
#include "support/files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

// By the streams of the C++ library: faults that are planned for the C library's leave them alone.

void write_whole_file(const std::filesystem::path& name, std::string_view content)
{
    std::ofstream file{name, std::ios::binary};
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error{"cannot write " + name.string()};
}

std::string read_whole_file(const std::filesystem::path& name)
{
    std::ifstream file{name, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}
