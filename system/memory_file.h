// SPDX-License-Identifier: Apache-2.0
// A file that has no name for others and lives in memory, or where the system keeps what is short-lived.
#ifndef KVN_SYSTEM_MEMORY_FILE_H
#define KVN_SYSTEM_MEMORY_FILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace kvn::system
{

/// Filled once, then sealed: nobody can change it any more, and any number of streams read it. Its content is
/// not mapped into the process. It is gone with the object and the last stream, however the process ends.
class MemoryFile
{
public:
    /// Throws std::system_error.
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// Adds bytes to its end. Throws std::system_error, and then holds some of them.
    void append(std::span<const std::uint8_t> bytes);
    /// Ends the filling. Throws std::system_error.
    void seal();
    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Opens it for reading, with a position of its own. May be called in several threads at the same time
    /// once it is sealed. Throws std::system_error, and std::bad_alloc.
    /// @return a stream that the caller closes; not inherited by programs that are started
    [[nodiscard]] std::FILE* open() const;

private:
    struct State;
    std::unique_ptr<State> state_;
    std::uint64_t size_ = 0;
};

} // namespace kvn::system

#endif
