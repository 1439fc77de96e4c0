// SPDX-License-Identifier: Apache-2.0
#include "system/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kvn::system
{
namespace
{

constexpr mode_t FOR_ALL = 0666;

/// Calls again what a signal interrupted.
template <class Call>
auto repeated(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

Folder::Kind kind_in(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_nlink <= 1 ? Folder::Kind::plain : Folder::Kind::other;
}

} // namespace

struct Folder::State {
    Descriptor folder;
};

Folder::Folder(const std::string& path)
    : state_{new State{Descriptor{::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)}}}
{
}

Folder::~Folder() = default;

bool Folder::is_open() const noexcept
{
    return state_->folder.is_open();
}

std::optional<std::vector<std::string>> Folder::names() const
{
    // A description of its own: the position in a folder belongs to it.
    const int own = ::openat(state_->folder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto closed = [](DIR* folder) { (void)::closedir(folder); };
    const std::unique_ptr<DIR, decltype(closed)> folder{own == -1 ? nullptr : ::fdopendir(own), closed};
    if (folder == nullptr)
        return std::nullopt;
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(folder.get())) // NOLINT(concurrency-mt-unsafe): its own folder
        names.emplace_back(entry->d_name);
    return names;
}

Folder::Kind Folder::kind_of(const std::string& name) const
{
    struct stat status {
    };
    if (::fstatat(state_->folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == -1)
        return Kind::missing;
    return kind_in(status);
}

Folder::Kind Folder::kind_of(const Descriptor& file) noexcept
{
    struct stat status {
    };
    return ::fstat(file.number(), &status) == -1 ? Kind::missing : kind_in(status);
}

Descriptor Folder::open(const std::string& name, Access access, Missing missing) const
{
    const int flags = access == Access::reads ? O_RDONLY : O_RDWR;
    const int creating = missing == Missing::is_created ? O_CREAT : 0;
    return Descriptor{::openat(state_->folder.number(), name.c_str(),
                               flags | creating | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, FOR_ALL)};
}

Descriptor Folder::create(const std::string& name) const
{
    return Descriptor{
        ::openat(state_->folder.number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FOR_ALL)};
}

int Folder::remove(const std::string& name) const
{
    return ::unlinkat(state_->folder.number(), name.c_str(), 0) == 0 ? 0 : errno;
}

int Folder::rename(const std::string& from, const std::string& to) const
{
    const int folder = state_->folder.number();
    return ::renameat(folder, from.c_str(), folder, to.c_str()) == 0 ? 0 : errno;
}

bool write_all_at(const Descriptor& file, std::span<const std::uint8_t> bytes, std::uint64_t at) noexcept
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

std::optional<std::size_t> read_all_at(const Descriptor& file, std::span<std::uint8_t> to,
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

std::optional<std::uint64_t> size_of(const Descriptor& file) noexcept
{
    struct stat status {
    };
    if (::fstat(file.number(), &status) == -1)
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

} // namespace kvn::system
