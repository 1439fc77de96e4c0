// SPDX-License-Identifier: Apache-2.0
// Files by system calls.
#include "system/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>

namespace kvn::system
{
namespace
{

using Status = struct stat;

FileKind kind_in(const Status& status)
{
    if (S_ISREG(status.st_mode))
        return FileKind::regular;
    if (S_ISDIR(status.st_mode))
        return FileKind::folder;
    if (S_ISFIFO(status.st_mode))
        return FileKind::pipe;
    return S_ISLNK(status.st_mode) ? FileKind::link : FileKind::other;
}

FileIdentity identity_in(const Status& status)
{
    return {.volume = status.st_dev, .file = status.st_ino};
}

std::optional<std::size_t> as_size(ssize_t size)
{
    return size < 0 ? std::nullopt : std::optional{static_cast<std::size_t>(size)};
}

int error_of(int result)
{
    return result == 0 ? 0 : errno;
}

} // namespace

FileKind kind_of(const std::string& path)
{
    Status status{};
    return ::stat(path.c_str(), &status) == 0 ? kind_in(status) : FileKind::none;
}

FileKind kind_of(int descriptor)
{
    Status status{};
    return ::fstat(descriptor, &status) == 0 ? kind_in(status) : FileKind::none;
}

FileKind kind_of_name(const std::string& path)
{
    Status status{};
    return ::lstat(path.c_str(), &status) == 0 ? kind_in(status) : FileKind::none;
}

std::optional<FileIdentity> identity_of(const std::string& path)
{
    Status status{};
    return ::stat(path.c_str(), &status) == 0 ? std::optional{identity_in(status)} : std::nullopt;
}

std::optional<FileIdentity> identity_of(int descriptor)
{
    Status status{};
    return ::fstat(descriptor, &status) == 0 ? std::optional{identity_in(status)} : std::nullopt;
}

int open_to_read(const std::string& path, Opening opening)
{
    const int waits = opening == Opening::at_once ? O_NONBLOCK : 0;
    return ::open(path.c_str(), O_RDONLY | waits | O_NOCTTY | O_CLOEXEC);
}

int create_new(const std::string& path, bool to_append)
{
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    constexpr mode_t FOR_ALL = 0666;
    constexpr mode_t ONLY_READ_BY_OTHERS = 0644;
    return ::open(path.c_str(), FLAGS | (to_append ? O_APPEND : 0),
                  to_append ? ONLY_READ_BY_OTHERS : FOR_ALL);
}

std::optional<std::size_t> read_some(int descriptor, std::span<char> to)
{
    return as_size(::read(descriptor, to.data(), to.size()));
}

std::optional<std::size_t> read_at(int descriptor, std::span<char> to, std::uint64_t offset)
{
    return as_size(::pread(descriptor, to.data(), to.size(), static_cast<off_t>(offset)));
}

int write_all(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written >= 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

int flush_file(int descriptor)
{
    return error_of(::fsync(descriptor));
}

int flush_content(int descriptor)
{
    return error_of(::fdatasync(descriptor));
}

int cut_to(int descriptor, std::uint64_t size)
{
    return error_of(::ftruncate(descriptor, static_cast<off_t>(size)));
}

int close_file(int descriptor)
{
    return error_of(::close(descriptor));
}

int remove_file(const std::string& path)
{
    return error_of(::unlink(path.c_str()));
}

int move_to_free_name(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // The file system cannot do it, but most of those have links.
    if (::link(from.c_str(), to.c_str()) != 0)
        return errno;
    (void)::unlink(from.c_str());
    return 0;
}

int move_over(const std::string& from, const std::string& to)
{
    return error_of(std::rename(from.c_str(), to.c_str()));
}

int flush_folder_of(const std::string& path)
{
    const std::filesystem::path folder = std::filesystem::path{path}.parent_path();
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return errno;
    const int error = flush_file(descriptor);
    (void)::close(descriptor);
    return error;
}

int try_folder(const std::string& folder)
{
    Status status{};
    if (::stat(folder.c_str(), &status) != 0)
        return errno;
    if (!S_ISDIR(status.st_mode))
        return ENOTDIR;
    return error_of(::access(folder.c_str(), W_OK | X_OK));
}

void ignore_size_limits() noexcept
{
    (void)std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace kvn::system
