// SPDX-License-Identifier: Apache-2.0
// Where a system keeps what belongs to all users.
#include "system/places.h"

#include <unistd.h>

#include <cstdlib>

namespace kvn::system
{

std::string administrators_file(const std::string& name)
{
    return "/etc/" + name;
}

std::string shared_lock_folder()
{
    const char* const own = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe): only read
    for (std::string folder : {"/run/lock", own == nullptr ? "" : own})
        if (!folder.empty() && ::access(folder.c_str(), W_OK | X_OK) == 0)
            return folder;
    return "/tmp";
}

} // namespace kvn::system
