// SPDX-License-Identifier: Apache-2.0
// A file as it was given, held in memory: what is checked is what is loaded, even if the file changes
// meanwhile.
#ifndef KVN_ENGINE_FILE_INPUT_H
#define KVN_ENGINE_FILE_INPUT_H

#include "support/owned.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace kvn
{

/// How the content was packed; told by its first bytes, never by a name.
enum class Packing { none, gzip, xz, zstd };

/// "gzip"; "none" for Packing::none.
[[nodiscard]] const char* packing_name(Packing packing);

/// What an input may take at the most.
struct InputLimits {
    /// Bytes after unpacking. It stops archives that unpack to much more than any bitstream holds, and
    /// endless devices. The RBT file of the largest device has 36 MiB.
    std::uint64_t size = std::uint64_t{1} << 30;
};

/// The content of a file, unpacked, in a memory file that cannot be changed any more.
///
/// Copies share the memory file, which is released with the last of them. All operations may be called in
/// several threads at the same time, on one object and on copies.
class Input
{
public:
    struct Stored {
        std::uint64_t size = 0;
        std::string sha256; ///< 64 lower-case hexadecimal digits
        Packing packing = Packing::none;
    };

    /// Reads a file to its end and closes it.
    ///
    /// A regular file, a named pipe (waits for its writer), or "-" for standard input, whatever that is.
    /// Content packed by gzip, xz or zstd is unpacked, members or frames one after the other; what is packed
    /// twice is unpacked once. Nothing else is opened: no folder, no device.
    /// @param path in the encoding of the file system; not empty
    /// Throws FailureError: of ExitStatus::file when the file cannot be opened or read, is of another kind,
    /// or there is no room to hold it; of ExitStatus::damaged when packed content is damaged, cut, or
    /// followed by something else, or the limit is exceeded. The what of each begins with the path. Throws
    /// std::bad_alloc.
    [[nodiscard]] static Input from_path(const std::string& path, const InputLimits& limits = {});

    /// Takes bytes that are in memory already; they are copied and unpacked as those of a file.
    /// @param name for messages, and for the format that its extension names; may be empty
    /// Throws as from_path, except that no file is opened.
    [[nodiscard]] static Input from_bytes(std::span<const std::uint8_t> bytes, const std::string& name,
                                          const InputLimits& limits = {});

    /// Takes the content of an input of another process, as open() reads it there; it is copied.
    /// @param name, name_states_format, stored of that input
    /// Throws FailureError of ExitStatus::file when there is no room to hold it, and std::bad_alloc.
    [[nodiscard]] static Input from_content(std::span<const std::uint8_t> content, const std::string& name,
                                            bool name_states_format, const Stored& stored);

    /// The name as it was given: the path, or "-".
    [[nodiscard]] const std::string& name() const;

    /// The name without the extension of the packing, if the content was packed: "design.bit" for
    /// "design.bit.gz".
    [[nodiscard]] const std::string& unpacked_name() const;

    /// Whether the name's extension states a format: not for standard input and pipes, nor for an empty name.
    [[nodiscard]] bool name_states_format() const;

    /// Bytes after unpacking.
    [[nodiscard]] std::uint64_t size() const;

    /// The bytes as they were given, before unpacking.
    [[nodiscard]] const Stored& stored() const;

    /// Opens the content for reading, from its beginning. Each stream has a position of its own, may be moved
    /// (fseek), and stays usable after the input is gone. Closed by its owner; not inherited by programs that
    /// are started.
    /// Throws FailureError of ExitStatus::file when there is no descriptor left, and std::bad_alloc.
    [[nodiscard]] File open() const;

private:
    struct Content;
    explicit Input(std::shared_ptr<const Content> content);
    template <class Read>
    [[nodiscard]] static Input fill(const std::string& name, const InputLimits& limits,
                                    bool name_states_format, Read read);
    std::shared_ptr<const Content> content_;
};

} // namespace kvn

#endif
