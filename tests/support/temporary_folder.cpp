// SPDX-License-Identifier: Apache-2.0
// The one folder in which a test, a fuzz target or a benchmark keeps its files.
#include "support/temporary_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder(const fs::path& parent)
{
    std::string name = (parent / "kvn_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
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
