// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names.
#include "support/real_files.h"

#include "support/files.h"
#include "support/process.h"

#include <algorithm>
#include <cstdlib>

namespace fs = std::filesystem;

std::vector<fs::path> real_files()
{
    std::vector<fs::path> found;
    const char* folder = std::getenv("KVN_REAL_BITSTREAMS");
    if (folder == nullptr || !fs::is_directory(folder))
        return found;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.find(".bit") != std::string::npos || name.find(".rbt") != std::string::npos)
            found.push_back(entry.path());
    }
    std::ranges::sort(found);
    return found;
}

std::string real_content(const fs::path& file)
{
    return file.extension() == ".xz" ? run({"xz", {"-dc", file.string()}}).output : read_whole_file(file);
}
