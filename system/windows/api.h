// SPDX-License-Identifier: Apache-2.0
// What the files of this folder share in using Windows: handles, short-lived files, errors.
#ifndef KVN_SYSTEM_WINDOWS_API_H
#define KVN_SYSTEM_WINDOWS_API_H

#include "system/windows/error_text.h"
#include "system/windows/wide.h"

#include <windows.h>

#include <string>
#include <system_error>
#include <utility>

namespace kvn::system::windows
{

/// A name of a file, also when it is longer than Windows allows for names that are not marked as long.
[[nodiscard]] std::wstring wide_path(const std::string& path);

/// The errno of the last call that failed.
[[nodiscard]] inline int last_error_number() noexcept
{
    return errno_of(::GetLastError());
}
/// Leaves it in errno. @return -1
int fail_with_last_error() noexcept;
[[noreturn]] void throw_error(DWORD error, const char* what);
[[noreturn]] inline void throw_last_error(const char* what)
{
    throw_error(::GetLastError(), what);
}

/// Owns a handle, which may be null or INVALID_HANDLE_VALUE.
class Handle
{
public:
    explicit Handle(HANDLE handle = nullptr) noexcept : handle_{handle} {}
    ~Handle() { close(); }
    Handle(Handle&& other) noexcept : handle_{std::exchange(other.handle_, nullptr)} {}
    Handle& operator=(Handle&& other) noexcept
    {
        if (this != &other) {
            close();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    [[nodiscard]] bool is_open() const noexcept
    {
        return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE;
    }
    [[nodiscard]] HANDLE get() const noexcept { return handle_; }
    [[nodiscard]] HANDLE release() noexcept { return std::exchange(handle_, nullptr); }
    void close() noexcept
    {
        if (is_open())
            (void)::CloseHandle(handle_);
        handle_ = nullptr;
    }

private:
    HANDLE handle_;
};

/// A name that nobody can foretell, for pipes and short-lived files.
[[nodiscard]] std::wstring unique_name();

/// A file that is open for reading and writing under such a name in the user's folder for short-lived files.
struct TemporaryFile {
    Handle handle;
    std::wstring path;
};
/// Others can read it, and cannot write it as long as the handle is open.
/// @param deletes_itself when the handle is closed; programs that do not expect it then cannot open it
/// @throws std::system_error
[[nodiscard]] TemporaryFile make_temporary_file(bool deletes_itself);

/// Writes all. @throws std::system_error
void write_all(const Handle& file, const void* bytes, std::size_t size);

} // namespace kvn::system::windows

#endif
