// SPDX-License-Identifier: Apache-2.0
// The lock is that of a byte far behind the content: others cannot read bytes that are locked.
#include "system/lock_file.h"

#include "system/file.h"
#include "system/windows/api.h"
#include "system/writing_lock.h"

#include <fcntl.h>
#include <io.h>

#include <cerrno>

namespace kvn::system
{

Descriptor open_lock_file(const std::string& path)
{
    windows::Handle handle{::CreateFileW(windows::wide_path(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)};
    if (!handle.is_open()) {
        (void)windows::fail_with_last_error();
        return Descriptor{};
    }
    Descriptor file{
        ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), _O_RDWR | _O_BINARY | _O_NOINHERIT)};
    if (file.is_open())
        (void)handle.release();
    return file;
}

int take_lock_file(const Descriptor& file)
{
    const int error = mark_as_written(file.number());
    return error == EACCES || error == EAGAIN ? EWOULDBLOCK : error;
}

void rewrite(const Descriptor& file, std::string_view content) noexcept
{
    if (cut_to(file.number(), 0) == 0 && ::_lseeki64(file.number(), 0, SEEK_SET) == 0)
        (void)write_all(file.number(), content);
}

} // namespace kvn::system
