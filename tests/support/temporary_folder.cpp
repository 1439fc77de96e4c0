// SPDX-License-Identifier: Apache-2.0
// The one folder in which a test, a fuzz target or a benchmark keeps its files.
#include "support/temporary_folder.h"

#include <random>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
std::string random_name()
{
    std::random_device device;
    std::uniform_int_distribution<int> letter{'a', 'z'};
    std::string name = "kvn_";
    for (int i = 0; i < 8; ++i)
        name += static_cast<char>(letter(device));
    return name;
}
} // namespace

TemporaryFolder::TemporaryFolder(const fs::path& parent)
{
    do
        path_ = parent / random_name();
    while (!fs::create_directory(path_));
    fs::permissions(path_, fs::perms::owner_all);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

CurrentFolder::CurrentFolder(const fs::path& folder) : before_{fs::current_path()}
{
    fs::current_path(folder);
}

CurrentFolder::~CurrentFolder()
{
    std::error_code ignored;
    fs::current_path(before_, ignored);
}
