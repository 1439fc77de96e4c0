// SPDX-License-Identifier: Apache-2.0
// The files of a folder in which the state of modules is kept.
#ifndef MWVIRTUAL_STATE_FOLDER_H
#define MWVIRTUAL_STATE_FOLDER_H

#include "system/byte_lock.h"
#include "system/folder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mwvirtual
{

/// Why the state of a module cannot be read or kept, in words for a user.
class StateError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

using kvn::system::Descriptor;

/// The locks of a file. A lock belongs to the descriptor over
/// which it was taken, and ends with it, at the latest with the process.
enum class Lock : std::uint8_t {
    /// Held while files change, and never longer.
    change = 0,
    /// Held while a module receives a message. Whoever holds it only while files change holds `change` too.
    message = 1,
};

/// Waits for the lock. @param exclusive needs a descriptor open for writing @return false on an error
[[nodiscard]] bool wait_for_lock(const Descriptor& file, Lock lock, bool exclusive = true) noexcept;
/// @return false if another one holds the lock
[[nodiscard]] bool try_lock(const Descriptor& file, Lock lock) noexcept;
void unlock(const Descriptor& file, Lock lock) noexcept;
/// Whether another one holds the lock.
[[nodiscard]] bool is_locked(const Descriptor& file, Lock lock) noexcept;

/// An existing folder. It stays the same one when its name changes or the process goes to another folder.
/// Files are opened by plain names, if they are regular and have no other name. The operations throw
/// StateError.
class StateFolder
{
public:
    explicit StateFolder(std::string path);

    [[nodiscard]] const std::string& path() const { return path_; }
    /// The names of all that is in it, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

    using Access = kvn::system::Folder::Access;
    using Missing = kvn::system::Folder::Missing;
    /// @return a closed one if the file is missing, and is not to be created
    [[nodiscard]] Descriptor open(const std::string& name, Access access, Missing missing) const;

    /// The content of a file. @return nothing if it is missing
    [[nodiscard]] std::optional<std::string> read(const std::string& name, std::size_t longest) const;
    /// Puts a file in place of one, in a single step. Only one process may do so at a time.
    /// @param temporary a name for it before it is complete
    void replace(const std::string& name, const std::string& temporary, std::string_view content) const;

    [[noreturn]] void fail(const std::string& name) const;
    [[noreturn]] void fail(const std::string& name, std::string_view problem) const;

private:
    std::string path_;
    kvn::system::Folder folder_;
};

} // namespace mwvirtual

#endif
