// SPDX-License-Identifier: Apache-2.0
// A file that has no name and lives in memory, for as long as a descriptor leads to it.
#ifndef KVN_ENGINE_FILE_MEMORY_FILE_H
#define KVN_ENGINE_FILE_MEMORY_FILE_H

#include "support/owned.h"

#include <cstdint>
#include <span>

namespace kvn
{

/// Filled once, then sealed: nobody can change it any more, and any number of streams read it. Its memory is
/// not mapped into the process.
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
    [[nodiscard]] File open() const;

private:
    int descriptor_;
    std::uint64_t size_ = 0;
};

} // namespace kvn

#endif
