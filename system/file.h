// SPDX-License-Identifier: Apache-2.0
// Files by their names in UTF-8 and by descriptors of the C run-time: binary, and not inherited by programs
// that are started.
#ifndef KVN_SYSTEM_FILE_H
#define KVN_SYSTEM_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kvn::system
{

/// What a name leads to, or a descriptor.
enum class FileKind {
    none,    ///< there is nothing, or it cannot be looked at; the reason is in errno
    regular, ///< a file with content
    folder,
    pipe, ///< also one without a name
    link, ///< symbolic; only of kind_of_name()
    other
};

/// Follows links.
[[nodiscard]] FileKind kind_of(const std::string& path);
[[nodiscard]] FileKind kind_of(int descriptor);
/// Of the name itself.
[[nodiscard]] FileKind kind_of_name(const std::string& path);

/// Which file it is, whatever its names are.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t file = 0;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// @return null when there is none
[[nodiscard]] std::optional<FileIdentity> identity_of(const std::string& path);
[[nodiscard]] std::optional<FileIdentity> identity_of(int descriptor);

/// How a file is opened for reading.
enum class Opening {
    at_once,         ///< never waits
    waits_for_writer ///< of a pipe
};

/// Opens what there is for reading.
/// @return the descriptor, or -1 with the error in errno
[[nodiscard]] int open_to_read(const std::string& path, Opening opening = Opening::at_once);

/// Makes a file that others may read and rename while it is written.
/// @param to_append each write adds to the end; then users other than the owner may not write it
/// @return the descriptor, or -1 with the error in errno: EEXIST when the name is taken
[[nodiscard]] int create_new(const std::string& path, bool to_append = false);

/// Reads what is there, at most what the span holds.
/// @return the bytes read, 0 at the end; null on an error, with its number in errno
[[nodiscard]] std::optional<std::size_t> read_some(int descriptor, std::span<char> to);
/// The same at a place of a regular file. @return as read_some(); the descriptor's position may have moved
[[nodiscard]] std::optional<std::size_t> read_at(int descriptor, std::span<char> to, std::uint64_t offset);

// These return 0, or the number of the error.

/// Writes all of the content at the descriptor's position.
[[nodiscard]] int write_all(int descriptor, std::string_view content);
/// Brings content and size to the disk.
[[nodiscard]] int flush_file(int descriptor);
/// The same without the times of the file.
[[nodiscard]] int flush_content(int descriptor);
[[nodiscard]] int cut_to(int descriptor, std::uint64_t size);
/// Closes it. It is closed also after an error.
[[nodiscard]] int close_file(int descriptor);
[[nodiscard]] int remove_file(const std::string& path);
/// Moves a file to a name that nothing has; EEXIST when something has it.
[[nodiscard]] int move_to_free_name(const std::string& from, const std::string& to);
/// Moves a file to a name, and replaces what has it, so that there always is one of both.
[[nodiscard]] int move_over(const std::string& from, const std::string& to);
/// Brings the names in the folder of a file to the disk.
[[nodiscard]] int flush_folder_of(const std::string& path);
/// Whether files can be made in a folder; ENOTDIR when it is none.
[[nodiscard]] int try_folder(const std::string& folder);

/// Lets a write beyond a limit on the size of files fail as on a full disk instead of ending the process.
void ignore_size_limits() noexcept;

} // namespace kvn::system

#endif
