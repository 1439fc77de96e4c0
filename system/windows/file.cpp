// SPDX-License-Identifier: Apache-2.0
// Files by Windows' own calls, which know all names and let others rename what is open.
#include "system/file.h"

#include "system/windows/api.h"
#include "system/windows/replace.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>

namespace kvn::system
{
namespace
{

using windows::Handle;

constexpr DWORD SHARED_WITH_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// What the C run-time takes at once.
constexpr std::size_t MOST_BYTES = std::size_t{1} << 30;

bool is_name_of_pipe(const std::string& path)
{
    return path.starts_with("\\\\.\\pipe\\") || path.starts_with("//./pipe/");
}

Handle look_at(const std::string& path, DWORD flags)
{
    return Handle{::CreateFileW(windows::wide_path(path).c_str(), FILE_READ_ATTRIBUTES, SHARED_WITH_ALL,
                                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr)};
}

FileKind kind_in(HANDLE handle)
{
    const DWORD type = ::GetFileType(handle);
    if (type == FILE_TYPE_PIPE)
        return FileKind::pipe;
    if (type != FILE_TYPE_DISK)
        return FileKind::other;
    BY_HANDLE_FILE_INFORMATION facts{};
    if (::GetFileInformationByHandle(handle, &facts) == FALSE) {
        (void)windows::fail_with_last_error();
        return FileKind::none;
    }
    if ((facts.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return FileKind::link;
    return (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::folder : FileKind::regular;
}

FileKind kind_of(const std::string& path, DWORD flags)
{
    if (is_name_of_pipe(path))
        return FileKind::pipe; // to look at one would connect to it
    const Handle handle = look_at(path, flags);
    if (handle.is_open())
        return kind_in(handle.get());
    (void)windows::fail_with_last_error();
    return FileKind::none;
}

HANDLE handle_of(int descriptor)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

std::optional<FileIdentity> identity_in(HANDLE handle)
{
    BY_HANDLE_FILE_INFORMATION facts{};
    if (::GetFileInformationByHandle(handle, &facts) == FALSE)
        return std::nullopt;
    const std::uint64_t high = facts.nFileIndexHigh;
    return FileIdentity{.volume = facts.dwVolumeSerialNumber, .file = high << 32U | facts.nFileIndexLow};
}

/// @return the descriptor, or -1 with the error in errno
int descriptor_of(Handle handle, int flags)
{
    if (!handle.is_open())
        return windows::fail_with_last_error();
    const int descriptor =
        ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), flags | _O_BINARY | _O_NOINHERIT);
    if (descriptor >= 0)
        (void)handle.release();
    return descriptor;
}

} // namespace

FileKind kind_of(const std::string& path)
{
    return kind_of(path, 0);
}

FileKind kind_of(int descriptor)
{
    return kind_in(handle_of(descriptor));
}

FileKind kind_of_name(const std::string& path)
{
    return kind_of(path, FILE_FLAG_OPEN_REPARSE_POINT);
}

std::optional<FileIdentity> identity_of(const std::string& path)
{
    const Handle handle = look_at(path, 0);
    return handle.is_open() ? identity_in(handle.get()) : std::nullopt;
}

std::optional<FileIdentity> identity_of(int descriptor)
{
    return identity_in(handle_of(descriptor));
}

int open_to_read(const std::string& path, Opening /*opening*/)
{
    return descriptor_of(Handle{::CreateFileW(windows::wide_path(path).c_str(), GENERIC_READ, SHARED_WITH_ALL,
                                              nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)},
                         _O_RDONLY);
}

int create_new(const std::string& path, bool to_append)
{
    return descriptor_of(Handle{::CreateFileW(windows::wide_path(path).c_str(), GENERIC_WRITE,
                                              FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                              FILE_ATTRIBUTE_NORMAL, nullptr)},
                         to_append ? _O_APPEND : 0);
}

std::optional<std::size_t> read_some(int descriptor, std::span<char> to)
{
    const int size = ::_read(descriptor, to.data(), static_cast<unsigned>(std::min(to.size(), MOST_BYTES)));
    return size < 0 ? std::nullopt : std::optional{static_cast<std::size_t>(size)};
}

std::optional<std::size_t> read_at(int descriptor, std::span<char> to, std::uint64_t offset)
{
    if (::_lseeki64(descriptor, static_cast<std::int64_t>(offset), SEEK_SET) < 0)
        return std::nullopt;
    return read_some(descriptor, to);
}

int write_all(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const int written =
            ::_write(descriptor, content.data(), static_cast<unsigned>(std::min(content.size(), MOST_BYTES)));
        if (written <= 0)
            return errno;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int flush_file(int descriptor)
{
    return ::_commit(descriptor) == 0 ? 0 : errno;
}

int flush_content(int descriptor)
{
    return flush_file(descriptor);
}

int cut_to(int descriptor, std::uint64_t size)
{
    return ::_chsize_s(descriptor, static_cast<std::int64_t>(size));
}

int close_file(int descriptor)
{
    return ::_close(descriptor) == 0 ? 0 : errno;
}

int remove_file(const std::string& path)
{
    return ::DeleteFileW(windows::wide_path(path).c_str()) != FALSE ? 0 : windows::last_error_number();
}

int move_to_free_name(const std::string& from, const std::string& to)
{
    const bool is_moved = ::MoveFileExW(windows::wide_path(from).c_str(), windows::wide_path(to).c_str(),
                                        MOVEFILE_WRITE_THROUGH) != FALSE;
    return is_moved ? 0 : windows::last_error_number();
}

int move_over(const std::string& from, const std::string& to)
{
    return windows::replace_file(windows::wide_path(from), windows::wide_path(to));
}

int flush_folder_of(const std::string& /*path*/)
{
    return 0; // names are on the disk when a file has been moved to a free one
}

int try_folder(const std::string& folder)
{
    const FileKind kind = kind_of(folder);
    if (kind == FileKind::none)
        return errno;
    if (kind != FileKind::folder)
        return ENOTDIR;
    const Handle handle{::CreateFileW(windows::wide_path(folder).c_str(), FILE_ADD_FILE, SHARED_WITH_ALL,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)};
    return handle.is_open() ? 0 : windows::last_error_number();
}

void ignore_size_limits() noexcept {}

} // namespace kvn::system
