// SPDX-License-Identifier: Apache-2.0
// Files that users name: opened if they are regular files, refused otherwise.
#ifndef KVN_SYSTEM_REGULAR_FILE_H
#define KVN_SYSTEM_REGULAR_FILE_H

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace kvn::system
{

/// An open file, or the reason why there is none. A folder, a FIFO or a device is refused without opening it
/// or waiting for it. No operation throws or allocates, but for the opening ones on Windows, which throw
/// std::bad_alloc when there is no memory for a name.
// Choice: no exceptions for devices (docs/decisions/0026-regular-files.md).
class RegularFile
{
public:
    /// Opens an existing file.
    static RegularFile to_read(const char* path);
    /// Creates a file, or empties an existing one.
    static RegularFile to_write(const char* path);
    /// The same for a plain name in a folder; a symbolic link of that name is refused.
    static RegularFile to_write_in(const char* folder, const char* name);

    ~RegularFile() { (void)close(); }
    RegularFile(RegularFile&& other) noexcept
        : descriptor_{std::exchange(other.descriptor_, -1)}, problem_{other.problem_}
    {
    }
    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;
    RegularFile& operator=(RegularFile&&) = delete;

    [[nodiscard]] bool is_open() const { return descriptor_ != -1; }
    /// -1 if it is not open. The file keeps it.
    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// Why the file was refused or the last operation failed, in words of static lifetime; null if none did.
    [[nodiscard]] const char* problem() const { return problem_; }

    /// @return the bytes read, 0 at the end of the file; nothing on an error
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t size) noexcept;
    /// Writes all bytes. @return false on an error
    [[nodiscard]] bool write(std::string_view bytes) noexcept;
    /// @return false on an error
    bool close() noexcept;

private:
    struct Opener;
    RegularFile() noexcept = default;
    [[nodiscard]] bool fail() noexcept;

    int descriptor_ = -1;
    const char* problem_ = nullptr;
};

} // namespace kvn::system

#endif
