// SPDX-License-Identifier: Apache-2.0
// The mark is a lock of a byte that no file has: bytes of a file that are locked cannot be read by others.
#include "system/writing_lock.h"

#include "system/windows/api.h"

#include <io.h>

namespace kvn::system
{
namespace
{

bool lock(HANDLE file, DWORD flags)
{
    OVERLAPPED place{};
    place.OffsetHigh = MAXLONG;
    return ::LockFileEx(file, flags | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != FALSE;
}

HANDLE handle_of(int descriptor)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

} // namespace

int mark_as_written(int descriptor)
{
    return lock(handle_of(descriptor), LOCKFILE_EXCLUSIVE_LOCK) ? 0 : windows::last_error_number();
}

bool is_being_written(int descriptor)
{
    if (!lock(handle_of(descriptor), 0))
        return ::GetLastError() == ERROR_LOCK_VIOLATION || ::GetLastError() == ERROR_IO_PENDING;
    OVERLAPPED place{};
    place.OffsetHigh = MAXLONG;
    (void)::UnlockFileEx(handle_of(descriptor), 0, 1, 0, &place);
    return false;
}

} // namespace kvn::system
