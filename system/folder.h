// SPDX-License-Identifier: Apache-2.0
// The files of one folder, by plain names, without following links.
#ifndef KVN_SYSTEM_FOLDER_H
#define KVN_SYSTEM_FOLDER_H

#include "system/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kvn::system
{

/// A folder that was there. It stays the same one when its name changes or the process goes to another
/// folder; on Windows its name cannot change meanwhile. Operations that return a number of an error or
/// nothing leave it in errno, too.
class Folder
{
public:
    explicit Folder(const std::string& path);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// If it is not, errno had the reason when it was made.
    [[nodiscard]] bool is_open() const noexcept;

    /// The names of all that is in it. @return null on an error
    [[nodiscard]] std::optional<std::vector<std::string>> names() const;

    enum class Kind {
        missing, ///< or it cannot be looked at; the reason is in errno
        plain,   ///< a regular file that has no other name
        other
    };
    [[nodiscard]] Kind kind_of(const std::string& name) const;
    [[nodiscard]] static Kind kind_of(const Descriptor& file) noexcept;

    enum class Access { reads, writes_too };
    enum class Missing { is_nothing, is_created };
    /// Opens a file without waiting, whatever it is. Others may rename and replace it meanwhile.
    /// @return a closed one on an error
    [[nodiscard]] Descriptor open(const std::string& name, Access access, Missing missing) const;
    /// Makes a file for writing. @return a closed one on an error; EEXIST: the name is taken
    [[nodiscard]] Descriptor create(const std::string& name) const;
    /// @return 0, or the number of the error
    [[nodiscard]] int remove(const std::string& name) const;
    /// Gives a file another name, in a single step in place of a file that has it, even an open one.
    /// @return 0, or the number of the error
    [[nodiscard]] int rename(const std::string& from, const std::string& to) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Writes all bytes at a place of a file. @return false on an error, with its number in errno
[[nodiscard]] bool write_all_at(const Descriptor& file, std::span<const std::uint8_t> bytes,
                                std::uint64_t at) noexcept;
/// @return the bytes read, fewer at the end of the file; null on an error, with its number in errno
[[nodiscard]] std::optional<std::size_t> read_all_at(const Descriptor& file, std::span<std::uint8_t> to,
                                                     std::uint64_t at) noexcept;
/// The size of a file. @return null on an error, with its number in errno
[[nodiscard]] std::optional<std::uint64_t> size_of(const Descriptor& file) noexcept;

} // namespace kvn::system

#endif
