// SPDX-License-Identifier: Apache-2.0
// The lock is that of flock(2).
#include "system/lock_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kvn::system
{

/// In a folder of all users the system refuses to open another user's file with the wish to create it: so
/// that is only asked for when there is none.
Descriptor open_lock_file(const std::string& path)
{
    constexpr int FLAGS = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t ANYBODY_WRITES = 0666;
    for (;;) {
        const int opened = ::open(path.c_str(), FLAGS);
        if (opened >= 0 || errno != ENOENT)
            return Descriptor{opened};
        const int created = ::open(path.c_str(), FLAGS | O_CREAT | O_EXCL, ANYBODY_WRITES);
        if (created >= 0) {
            (void)::fchmod(created, ANYBODY_WRITES); // whatever the umask
            return Descriptor{created};
        }
        if (errno != EEXIST)
            return Descriptor{};
    }
}

int take_lock_file(const Descriptor& file)
{
    return ::flock(file.number(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
}

void rewrite(const Descriptor& file, std::string_view content) noexcept
{
    (void)!::ftruncate(file.number(), 0);
    (void)!::pwrite(file.number(), content.data(), content.size(), 0);
}

} // namespace kvn::system
