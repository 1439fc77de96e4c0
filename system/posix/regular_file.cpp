// SPDX-License-Identifier: Apache-2.0
// Files that users name: opened if they are regular files, refused otherwise.
#include "system/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kvn::system
{
namespace
{

constexpr const char* NOT_REGULAR = "it is no regular file";
constexpr mode_t FOR_ALL = 0666;

bool is_regular(const struct stat& status)
{
    return S_ISREG(status.st_mode);
}

} // namespace

struct RegularFile::Opener {
    // Opening a device can have an effect and opening a FIFO can block, so the kind is checked first. The
    // file may be replaced in between, hence O_NONBLOCK and the second check; nothing is emptied before it.
    static void open(RegularFile& file, int folder, const char* path, int flags) noexcept
    {
        struct stat status {
        };
        const int links = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
        if (::fstatat(folder, path, &status, links) == 0 && !is_regular(status)) {
            file.problem_ = NOT_REGULAR;
            return;
        }
        file.descriptor_ = ::openat(folder, path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, FOR_ALL);
        if (file.descriptor_ == -1 || ::fstat(file.descriptor_, &status) == -1) {
            (void)file.fail();
            return;
        }
        if (!is_regular(status)) {
            (void)file.close();
            file.problem_ = NOT_REGULAR;
        } else if ((flags & O_CREAT) != 0 && ::ftruncate(file.descriptor_, 0) == -1) {
            (void)file.fail();
        }
    }
};

RegularFile RegularFile::to_read(const char* path)
{
    RegularFile file;
    Opener::open(file, AT_FDCWD, path, O_RDONLY);
    return file;
}

RegularFile RegularFile::to_write(const char* path)
{
    RegularFile file;
    Opener::open(file, AT_FDCWD, path, O_WRONLY | O_CREAT);
    return file;
}

RegularFile RegularFile::to_write_in(const char* folder, const char* name)
{
    RegularFile file;
    const int descriptor = ::open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (descriptor == -1) {
        (void)file.fail();
        return file;
    }
    Opener::open(file, descriptor, name, O_WRONLY | O_CREAT | O_NOFOLLOW);
    (void)::close(descriptor);
    return file;
}

std::optional<std::size_t> RegularFile::read(char* to, std::size_t size) noexcept
{
    ssize_t count = 0;
    do
        count = ::read(descriptor_, to, size);
    while (count == -1 && errno == EINTR);
    if (count == -1) {
        (void)fail();
        return std::nullopt;
    }
    return static_cast<std::size_t>(count);
}

bool RegularFile::write(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return fail();
    }
    return true;
}

bool RegularFile::close() noexcept
{
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor == -1 || ::close(descriptor) == 0 || fail();
}

bool RegularFile::fail() noexcept
{
    problem_ = std::strerror(errno); // NOLINT(concurrency-mt-unsafe): safe in glibc
    if (descriptor_ != -1)
        (void)::close(std::exchange(descriptor_, -1));
    return false;
}

} // namespace kvn::system
