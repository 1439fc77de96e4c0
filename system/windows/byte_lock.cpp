// SPDX-License-Identifier: Apache-2.0
// The locks are of bytes that no file has: bytes that are locked cannot be read by others.
#include "system/byte_lock.h"

#include "system/windows/error_text.h"

#include <windows.h>

#include <io.h>

namespace kvn::system
{
namespace
{

OVERLAPPED place_of(unsigned lock) noexcept
{
    OVERLAPPED place{};
    place.Offset = lock;
    place.OffsetHigh = 0x40000000;
    return place;
}

HANDLE handle_of(int descriptor) noexcept
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

bool take(int descriptor, unsigned lock, DWORD flags) noexcept
{
    OVERLAPPED place = place_of(lock);
    return LockFileEx(handle_of(descriptor), flags, 0, 1, 0, &place) != FALSE;
}

} // namespace

int wait_for_lock(int descriptor, unsigned lock, bool exclusive) noexcept
{
    return take(descriptor, lock, exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0) ? 0 : errno_of(GetLastError());
}

bool try_lock(int descriptor, unsigned lock) noexcept
{
    return take(descriptor, lock, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY);
}

void unlock(int descriptor, unsigned lock) noexcept
{
    OVERLAPPED place = place_of(lock);
    (void)UnlockFileEx(handle_of(descriptor), 0, 1, 0, &place);
}

bool is_locked(int descriptor, unsigned lock) noexcept
{
    if (!try_lock(descriptor, lock))
        return true;
    unlock(descriptor, lock);
    return false;
}

} // namespace kvn::system
