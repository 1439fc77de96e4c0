// SPDX-License-Identifier: Apache-2.0
// Reads and writes streams in large blocks.
#ifndef KVN_FPGA_FORMATS_BLOCK_FILE_H
#define KVN_FPGA_FORMATS_BLOCK_FILE_H

#include "support/owned.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

// Larger blocks gain little and cost memory. The size of a write decides at which byte, and so with which
// error number, a full disk is noticed.
inline constexpr std::size_t READ_SIZE = std::size_t{96} * 1024;
inline constexpr std::size_t WRITE_SIZE = std::size_t{64} * 1024;

/// Hands out the bytes of a stream in place. The end or an error of the stream takes effect only when its
/// place is reached, however far ahead the stream was read.
class BlockReader
{
public:
    static constexpr std::size_t MOST_WANTED = 4096;

    explicit BlockReader(FILE* stream);

    /// Returns the bytes at hand: at least `wanted` (up to MOST_WANTED) unless the stream stopped earlier.
    /// They stay valid until the next call.
    std::span<const std::uint8_t> peek(std::size_t wanted)
    {
        while (static_cast<std::size_t>(end_ - begin_) < wanted && !stopped_)
            refill();
        return {begin_, end_};
    }

    /// Skips bytes that peek has returned.
    void skip(std::size_t count) { begin_ += count; }

    /// Whether the stream stopped with its error or its end-of-file indicator set; neither may be.
    [[nodiscard]] bool failed() const { return stopped_ && std::ferror(stream_) != 0; }
    [[nodiscard]] bool ended() const { return stopped_ && std::feof(stream_) != 0; }

private:
    /// Room for what is still wanted of the block before, and behind it for a block. The block starts at a
    /// cache line: processors copy to odd addresses several times slower, and the copy out of the page cache
    /// is the largest part of reading.
    template <std::size_t Size>
    struct alignas(64) Memory {
        std::uint8_t bytes[MOST_WANTED + Size];
    };

    void refill();

    // Used when there is no memory for a large block: slower, but the run goes on.
    Memory<MOST_WANTED> small_;
    std::unique_ptr<Memory<READ_SIZE>> large_;
    FILE* stream_;
    std::uint8_t* block_;
    std::size_t size_;
    std::size_t position_; // in the file, behind what is in the block
    std::uint8_t* begin_;
    std::uint8_t* end_;
    bool stopped_ = false;
};

/// An output file whose stream gathers a block before it writes.
class BlockWriter
{
public:
    explicit BlockWriter(File file);

    /// Writes bytes.
    /// @return the number written: all, or those before the byte that failed
    std::size_t put(const void* bytes, std::size_t size)
    {
        const std::size_t taken = std::fwrite(bytes, 1, size, file_.get());
        complete_ = complete_ && taken == size;
        return taken;
    }

    /// Flushes and closes the file.
    /// @return false if this or any earlier write failed
    bool close() { return std::fclose(file_.release()) == 0 && complete_; }

private:
    std::unique_ptr<char[]> buffer_; // before the file, which uses it until it is closed
    File file_;
    bool complete_ = true;
};

#endif
