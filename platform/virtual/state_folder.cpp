// SPDX-License-Identifier: Apache-2.0
// The files of a folder in which the state of modules is kept.
#include "state_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace mwvirtual
{
namespace
{

using Kind = kvn::system::Folder::Kind;

std::string problem_of(int error)
{
    return std::strerror(error); // NOLINT(concurrency-mt-unsafe): safe in glibc and on Windows
}

} // namespace

bool wait_for_lock(const Descriptor& file, Lock lock, bool exclusive) noexcept
{
    return kvn::system::wait_for_lock(file.number(), static_cast<unsigned>(lock), exclusive) == 0;
}

bool try_lock(const Descriptor& file, Lock lock) noexcept
{
    return kvn::system::try_lock(file.number(), static_cast<unsigned>(lock));
}

void unlock(const Descriptor& file, Lock lock) noexcept
{
    kvn::system::unlock(file.number(), static_cast<unsigned>(lock));
}

bool is_locked(const Descriptor& file, Lock lock) noexcept
{
    return kvn::system::is_locked(file.number(), static_cast<unsigned>(lock));
}

StateFolder::StateFolder(std::string path) : path_{std::move(path)}, folder_{path_}
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
    std::optional<std::vector<std::string>> names = folder_.names();
    if (!names)
        fail(".");
    std::ranges::sort(*names);
    return *std::move(names);
}

// Opening a device can have an effect and opening a FIFO can block, so the kind is checked before and after.
Descriptor StateFolder::open(const std::string& name, Access access, Missing missing) const
{
    constexpr std::string_view OTHER_KIND = "it is no regular file of one name";
    if (folder_.kind_of(name) == Kind::other)
        fail(name, OTHER_KIND);
    Descriptor file = folder_.open(name, access, missing);
    if (!file.is_open()) {
        if (errno == ENOENT && missing == Missing::is_nothing)
            return file;
        fail(name);
    }
    const Kind kind = kvn::system::Folder::kind_of(file);
    if (kind == Kind::missing)
        fail(name);
    if (kind == Kind::other)
        fail(name, OTHER_KIND);
    return file;
}

std::optional<std::string> StateFolder::read(const std::string& name, std::size_t longest) const
{
    const Descriptor file = open(name, Access::reads, Missing::is_nothing);
    if (!file.is_open())
        return std::nullopt;
    std::vector<std::uint8_t> content(longest + 1);
    const std::optional<std::size_t> size = kvn::system::read_all_at(file, content, 0);
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
    if (const int error = folder_.remove(temporary); error != 0 && error != ENOENT)
        fail(temporary, problem_of(error));
    const Descriptor file = folder_.create(temporary);
    if (!file.is_open())
        fail(temporary);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
    if (!kvn::system::write_all_at(file, {bytes, content.size()}, 0) ||
        folder_.rename(temporary, name) != 0) {
        const int error = errno;
        (void)folder_.remove(temporary);
        fail(name, problem_of(error));
    }
}

} // namespace mwvirtual
