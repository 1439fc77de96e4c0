// SPDX-License-Identifier: Apache-2.0
// The files of a folder in which the state of modules is kept.
#include "state_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace mwvirtual
{
namespace
{

constexpr mode_t FOR_ALL = 0666;

std::string problem_of(int error)
{
    return std::strerror(error); // NOLINT(concurrency-mt-unsafe): safe in glibc
}

/// One lock of a file, as the system describes it.
struct flock described(Lock lock, short kind)
{
    struct flock description {
    };
    description.l_type = kind;
    description.l_whence = SEEK_SET;
    description.l_start = static_cast<off_t>(lock);
    description.l_len = 1;
    return description;
}

/// Calls again what a signal interrupted.
template <class Call>
auto repeated(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

} // namespace

bool wait_for_lock(const Descriptor& file, Lock lock, bool exclusive) noexcept
{
    struct flock description = described(lock, exclusive ? F_WRLCK : F_RDLCK);
    return repeated([&] { return ::fcntl(file.number(), F_OFD_SETLKW, &description); }) == 0;
}

bool try_lock(const Descriptor& file, Lock lock) noexcept
{
    struct flock description = described(lock, F_WRLCK);
    return ::fcntl(file.number(), F_OFD_SETLK, &description) == 0;
}

void unlock(const Descriptor& file, Lock lock) noexcept
{
    struct flock description = described(lock, F_UNLCK);
    (void)::fcntl(file.number(), F_OFD_SETLK, &description);
}

bool is_locked(const Descriptor& file, Lock lock) noexcept
{
    struct flock description = described(lock, F_WRLCK);
    return ::fcntl(file.number(), F_OFD_GETLK, &description) == 0 && description.l_type != F_UNLCK;
}

bool write_at(const Descriptor& file, std::span<const std::uint8_t> bytes, std::uint64_t at) noexcept
{
    while (!bytes.empty()) {
        const ssize_t count = repeated(
            [&] { return ::pwrite(file.number(), bytes.data(), bytes.size(), static_cast<off_t>(at)); });
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        at += static_cast<std::uint64_t>(count);
    }
    return true;
}

std::optional<std::size_t> read_at(const Descriptor& file, std::span<std::uint8_t> to,
                                   std::uint64_t at) noexcept
{
    std::size_t sum = 0;
    while (sum != to.size()) {
        const ssize_t count = repeated([&] {
            return ::pread(file.number(), to.data() + sum, to.size() - sum, static_cast<off_t>(at + sum));
        });
        if (count == -1)
            return std::nullopt;
        if (count == 0)
            break;
        sum += static_cast<std::size_t>(count);
    }
    return sum;
}

StateFolder::StateFolder(std::string path)
    : path_{std::move(path)}, folder_{::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)}
{
    if (!folder_.is_open())
        throw StateError{"the folder " + path_ + " for the state of modules: " + problem_of(errno)};
}

void StateFolder::fail(const std::string& name) const
{
    fail(name, problem_of(errno));
}

void StateFolder::fail(const std::string& name, std::string_view problem) const
{
    throw StateError{name + " in " + path_ + ": " + std::string{problem}};
}

std::vector<std::string> StateFolder::names() const
{
    // A description of its own: the position in a folder belongs to it.
    const int own = ::openat(folder_.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto closed = [](DIR* folder) { (void)::closedir(folder); };
    const std::unique_ptr<DIR, decltype(closed)> folder{own == -1 ? nullptr : ::fdopendir(own), closed};
    if (folder == nullptr)
        fail(".");
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(folder.get())) // NOLINT(concurrency-mt-unsafe): its own folder
        names.emplace_back(entry->d_name);
    std::ranges::sort(names);
    return names;
}

// Opening a device can have an effect and opening a FIFO can block, so the kind is checked before and after.
Descriptor StateFolder::open(const std::string& name, int flags, Missing missing) const
{
    constexpr std::string_view OTHER_KIND = "it is no regular file of one name";
    const auto is_good = [](const struct stat& status) {
        return S_ISREG(status.st_mode) && status.st_nlink <= 1;
    };
    struct stat status {
    };
    if (::fstatat(folder_.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && !is_good(status))
        fail(name, OTHER_KIND);
    const int creating = missing == Missing::is_created ? O_CREAT : 0;
    Descriptor file{::openat(folder_.number(), name.c_str(),
                             flags | creating | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, FOR_ALL)};
    if (!file.is_open()) {
        if (errno == ENOENT && missing == Missing::is_nothing)
            return file;
        fail(name);
    }
    if (::fstat(file.number(), &status) == -1)
        fail(name);
    if (!is_good(status))
        fail(name, OTHER_KIND);
    return file;
}

std::optional<std::string> StateFolder::read(const std::string& name, std::size_t longest) const
{
    const Descriptor file = open(name, O_RDONLY, Missing::is_nothing);
    if (!file.is_open())
        return std::nullopt;
    std::vector<std::uint8_t> content(longest + 1);
    const std::optional<std::size_t> size = read_at(file, content, 0);
    if (!size)
        fail(name);
    if (*size > longest)
        fail(name, "it is too long");
    return std::string{content.begin(), content.begin() + static_cast<std::ptrdiff_t>(*size)};
}

// What is there under the temporary name was left by a process that was killed, or is foreign; a new file
// cannot lead anywhere else.
void StateFolder::replace(const std::string& name, const std::string& temporary,
                          std::string_view content) const
{
    if (::unlinkat(folder_.number(), temporary.c_str(), 0) == -1 && errno != ENOENT)
        fail(temporary);
    const Descriptor file{
        ::openat(folder_.number(), temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FOR_ALL)};
    if (!file.is_open())
        fail(temporary);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
    if (!write_at(file, {bytes, content.size()}, 0) ||
        ::renameat(folder_.number(), temporary.c_str(), folder_.number(), name.c_str()) == -1) {
        const int error = errno;
        (void)::unlinkat(folder_.number(), temporary.c_str(), 0);
        fail(name, problem_of(error));
    }
}

} // namespace mwvirtual
