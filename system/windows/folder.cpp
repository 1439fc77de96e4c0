// SPDX-License-Identifier: Apache-2.0
#include "system/folder.h"

#include "system/path_text.h"
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
constexpr std::size_t MOST_BYTES = std::size_t{1} << 30;

HANDLE handle_of(const Descriptor& file) noexcept
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(file.number()));
}

/// @return a closed one on an error, with its number in errno
Descriptor descriptor_of(Handle handle, int flags)
{
    if (!handle.is_open())
        return Descriptor{windows::fail_with_last_error()};
    Descriptor made{
        _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), flags | _O_BINARY | _O_NOINHERIT)};
    if (made.is_open())
        (void)handle.release();
    return made;
}

Folder::Kind kind_in(HANDLE handle) noexcept
{
    BY_HANDLE_FILE_INFORMATION facts{};
    if (GetFileInformationByHandle(handle, &facts) == FALSE) {
        (void)windows::fail_with_last_error();
        return Folder::Kind::missing;
    }
    constexpr DWORD not_plain = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const bool is_plain = GetFileType(handle) == FILE_TYPE_DISK &&
                          (facts.dwFileAttributes & not_plain) == 0 && facts.nNumberOfLinks <= 1;
    return is_plain ? Folder::Kind::plain : Folder::Kind::other;
}

OVERLAPPED place_of(std::uint64_t at) noexcept
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(at);
    place.OffsetHigh = static_cast<DWORD>(at >> 32U);
    return place;
}

DWORD part_of(std::size_t size) noexcept
{
    return static_cast<DWORD>(std::min(size, MOST_BYTES));
}

} // namespace

struct Folder::State {
    std::string path; ///< absolute
    Handle folder;    ///< keeps the folder where it is

    [[nodiscard]] std::wstring file(const std::string& name) const
    {
        return windows::wide_path(path + "\\" + name);
    }
};

Folder::Folder(const std::string& path) : state_{new State}
{
    std::error_code problem;
    state_->path = text_of(std::filesystem::absolute(path_of(path), problem));
    Handle handle{CreateFileW(windows::wide_path(state_->path).c_str(), FILE_LIST_DIRECTORY,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr)};
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!handle.is_open() || GetFileInformationByHandle(handle.get(), &facts) == FALSE)
        (void)windows::fail_with_last_error();
    else if ((facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        errno = ENOTDIR;
    else
        state_->folder = std::move(handle);
}

Folder::~Folder() = default;

bool Folder::is_open() const noexcept
{
    return state_->folder.is_open();
}

std::optional<std::vector<std::string>> Folder::names() const
{
    WIN32_FIND_DATAW entry{};
    HANDLE search = FindFirstFileW(state_->file("*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        (void)windows::fail_with_last_error();
        return std::nullopt;
    }
    const auto closed = [](void* open) { (void)FindClose(open); };
    const std::unique_ptr<void, decltype(closed)> held{search, closed};
    std::vector<std::string> names;
    do
        names.push_back(narrow(entry.cFileName));
    while (FindNextFileW(search, &entry) != FALSE);
    return names;
}

Folder::Kind Folder::kind_of(const std::string& name) const
{
    const Handle handle{CreateFileW(state_->file(name).c_str(), FILE_READ_ATTRIBUTES, SHARED_WITH_ALL,
                                    nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)};
    if (handle.is_open())
        return kind_in(handle.get());
    (void)windows::fail_with_last_error();
    return Kind::missing;
}

Folder::Kind Folder::kind_of(const Descriptor& file) noexcept
{
    return kind_in(handle_of(file));
}

Descriptor Folder::open(const std::string& name, Access access, Missing missing) const
{
    const DWORD wanted = GENERIC_READ | (access == Access::writes_too ? GENERIC_WRITE : 0U);
    return descriptor_of(Handle{CreateFileW(state_->file(name).c_str(), wanted, SHARED_WITH_ALL, nullptr,
                                            missing == Missing::is_created ? OPEN_ALWAYS : OPEN_EXISTING,
                                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)},
                         access == Access::reads ? _O_RDONLY : _O_RDWR);
}

Descriptor Folder::create(const std::string& name) const
{
    return descriptor_of(Handle{CreateFileW(state_->file(name).c_str(), GENERIC_WRITE, SHARED_WITH_ALL,
                                            nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)},
                         _O_WRONLY);
}

int Folder::remove(const std::string& name) const
{
    if (DeleteFileW(state_->file(name).c_str()) != FALSE)
        return 0;
    return errno = windows::last_error_number();
}

int Folder::rename(const std::string& from, const std::string& to) const
{
    const int error = windows::replace_file(state_->file(from), state_->file(to));
    if (error != 0)
        errno = error;
    return error;
}

bool write_all_at(const Descriptor& file, std::span<const std::uint8_t> bytes, std::uint64_t at) noexcept
{
    while (!bytes.empty()) {
        OVERLAPPED place = place_of(at);
        DWORD count = 0;
        if (WriteFile(handle_of(file), bytes.data(), part_of(bytes.size()), &count, &place) == FALSE ||
            count == 0) {
            (void)windows::fail_with_last_error();
            return false;
        }
        bytes = bytes.subspan(count);
        at += count;
    }
    return true;
}

std::optional<std::size_t> read_all_at(const Descriptor& file, std::span<std::uint8_t> to,
                                       std::uint64_t at) noexcept
{
    std::size_t sum = 0;
    while (sum != to.size()) {
        OVERLAPPED place = place_of(at + sum);
        DWORD count = 0;
        if (ReadFile(handle_of(file), to.data() + sum, part_of(to.size() - sum), &count, &place) == FALSE) {
            if (GetLastError() == ERROR_HANDLE_EOF)
                break;
            (void)windows::fail_with_last_error();
            return std::nullopt;
        }
        if (count == 0)
            break;
        sum += count;
    }
    return sum;
}

std::optional<std::uint64_t> size_of(const Descriptor& file) noexcept
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(handle_of(file), &size) == FALSE) {
        (void)windows::fail_with_last_error();
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

} // namespace kvn::system
