// SPDX-License-Identifier: Apache-2.0
// Files that users name: opened if they are regular files, refused otherwise.
#include "system/regular_file.h"

#include "system/windows/api.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kvn::system
{
namespace
{

constexpr const char* NOT_REGULAR = "it is no regular file";
constexpr std::size_t MOST_BYTES = std::size_t{1} << 30;
constexpr DWORD SHARED_WITH_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

enum class Kind { missing, regular, other };

Kind kind_of(const windows::Handle& handle, bool follows_links)
{
    if (!handle.is_open())
        return Kind::missing;
    BY_HANDLE_FILE_INFORMATION facts{};
    if (GetFileType(handle.get()) != FILE_TYPE_DISK ||
        GetFileInformationByHandle(handle.get(), &facts) == FALSE)
        return Kind::other;
    const DWORD refused = FILE_ATTRIBUTE_DIRECTORY | (follows_links ? 0U : FILE_ATTRIBUTE_REPARSE_POINT);
    return (facts.dwFileAttributes & refused) == 0 ? Kind::regular : Kind::other;
}

/// Looking at a pipe would connect to it.
bool is_name_of_device(const std::string& path)
{
    return path.starts_with("\\\\.\\") || path.starts_with("//./");
}

struct Wish {
    DWORD access;
    DWORD creation;
    bool follows_links;
};
constexpr Wish READS{.access = GENERIC_READ, .creation = OPEN_EXISTING, .follows_links = true};
constexpr Wish WRITES{.access = GENERIC_WRITE, .creation = OPEN_ALWAYS, .follows_links = true};
constexpr Wish WRITES_PLAIN_NAME{.access = GENERIC_WRITE, .creation = OPEN_ALWAYS, .follows_links = false};

} // namespace

struct RegularFile::Opener {
    // The kind is checked before a device is opened with a wish to use it, and again of what was opened;
    // nothing is emptied before that.
    static void open(RegularFile& file, const std::string& path, const Wish& wish)
    {
        const std::wstring name = windows::wide_path(path);
        const DWORD links = wish.follows_links ? 0 : FILE_FLAG_OPEN_REPARSE_POINT;
        if (is_name_of_device(path) || kind_of(look_at(name, links), wish.follows_links) == Kind::other) {
            file.problem_ = NOT_REGULAR;
            return;
        }
        windows::Handle handle{CreateFileW(name.c_str(), wish.access, SHARED_WITH_ALL, nullptr, wish.creation,
                                           FILE_ATTRIBUTE_NORMAL | links, nullptr)};
        if (!handle.is_open()) {
            errno = windows::last_error_number();
            (void)file.fail();
            return;
        }
        if (kind_of(handle, wish.follows_links) != Kind::regular) {
            file.problem_ = NOT_REGULAR;
            return;
        }
        const bool writes = wish.access == GENERIC_WRITE;
        file.descriptor_ = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()),
                                           (writes ? _O_WRONLY : _O_RDONLY) | _O_BINARY | _O_NOINHERIT);
        if (file.descriptor_ == -1) {
            (void)file.fail();
            return;
        }
        (void)handle.release();
        if (writes)
            if (const int error = _chsize_s(file.descriptor_, 0)) {
                errno = error;
                (void)file.fail();
            }
    }

    static windows::Handle look_at(const std::wstring& name, DWORD links)
    {
        return windows::Handle{CreateFileW(name.c_str(), FILE_READ_ATTRIBUTES, SHARED_WITH_ALL, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | links, nullptr)};
    }
};

RegularFile RegularFile::to_read(const char* path)
{
    RegularFile file;
    Opener::open(file, path, READS);
    return file;
}

RegularFile RegularFile::to_write(const char* path)
{
    RegularFile file;
    Opener::open(file, path, WRITES);
    return file;
}

RegularFile RegularFile::to_write_in(const char* folder, const char* name)
{
    RegularFile file;
    Opener::open(file, std::string{folder} + "\\" + name, WRITES_PLAIN_NAME);
    return file;
}

std::optional<std::size_t> RegularFile::read(char* to, std::size_t size) noexcept
{
    const int count = _read(descriptor_, to, static_cast<unsigned>(std::min(size, MOST_BYTES)));
    if (count == -1) {
        (void)fail();
        return std::nullopt;
    }
    return static_cast<std::size_t>(count);
}

bool RegularFile::write(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const int written =
            _write(descriptor_, bytes.data(), static_cast<unsigned>(std::min(bytes.size(), MOST_BYTES)));
        if (written <= 0)
            return fail();
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool RegularFile::close() noexcept
{
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor == -1 || _close(descriptor) == 0 || fail();
}

bool RegularFile::fail() noexcept
{
    problem_ = std::strerror(errno); // NOLINT(concurrency-mt-unsafe): each thread has its own there
    if (descriptor_ != -1)
        (void)_close(std::exchange(descriptor_, -1));
    return false;
}

} // namespace kvn::system
