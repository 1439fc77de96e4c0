// SPDX-License-Identifier: Apache-2.0
// The mark is a lock of the open file, on all of its bytes.
#include "system/writing_lock.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace kvn::system
{
namespace
{

struct flock whole_file(short type)
{
    struct flock lock {
    };
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

int mark_as_written(int descriptor)
{
    struct flock lock = whole_file(F_WRLCK);
    return ::fcntl(descriptor, F_OFD_SETLK, &lock) == 0 ? 0 : errno;
}

bool is_being_written(int descriptor)
{
    struct flock wish = whole_file(F_RDLCK);
    return ::fcntl(descriptor, F_OFD_GETLK, &wish) == 0 && wish.l_type != F_UNLCK;
}

} // namespace kvn::system
