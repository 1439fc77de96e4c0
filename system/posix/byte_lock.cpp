// SPDX-License-Identifier: Apache-2.0
#include "system/byte_lock.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace kvn::system
{
namespace
{

/// One lock of a file, as the system describes it.
struct flock described(unsigned lock, short kind)
{
    struct flock description {
    };
    description.l_type = kind;
    description.l_whence = SEEK_SET;
    description.l_start = static_cast<off_t>(lock);
    description.l_len = 1;
    return description;
}

} // namespace

int wait_for_lock(int descriptor, unsigned lock, bool exclusive) noexcept
{
    struct flock description = described(lock, exclusive ? F_WRLCK : F_RDLCK);
    int result = 0;
    do
        result = ::fcntl(descriptor, F_OFD_SETLKW, &description);
    while (result == -1 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

bool try_lock(int descriptor, unsigned lock) noexcept
{
    struct flock description = described(lock, F_WRLCK);
    return ::fcntl(descriptor, F_OFD_SETLK, &description) == 0;
}

void unlock(int descriptor, unsigned lock) noexcept
{
    struct flock description = described(lock, F_UNLCK);
    (void)::fcntl(descriptor, F_OFD_SETLK, &description);
}

bool is_locked(int descriptor, unsigned lock) noexcept
{
    struct flock description = described(lock, F_WRLCK);
    return ::fcntl(descriptor, F_OFD_GETLK, &description) == 0 && description.l_type != F_UNLCK;
}

} // namespace kvn::system
