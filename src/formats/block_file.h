// Reads and writes streams in large blocks.
#ifndef KVN_FPGA_FORMATS_BLOCK_FILE_H
#define KVN_FPGA_FORMATS_BLOCK_FILE_H

#include "support/owned.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

inline constexpr std::size_t BLOCK_SIZE = 65536;

/// A buffer of BLOCK_SIZE bytes, or of fewer when there is no memory for them: a run goes on, slower.
class Block
{
public:
    Block();
    [[nodiscard]] std::uint8_t* data() { return large_ ? large_.get() : small_; }
    [[nodiscard]] std::size_t size() const { return large_ ? BLOCK_SIZE : sizeof small_; }

private:
    std::unique_ptr<std::uint8_t[]> large_;
    std::uint8_t small_[4096];
};

/// Hands out the bytes of a stream in place. An end or an error of the stream counts only when its place is
/// reached, however far the reading is ahead.
class BlockReader
{
public:
    explicit BlockReader(FILE* stream) : stream_{stream} {}

    /// The bytes at hand, at least `wanted` of them (4096 at the most) unless the stream stopped before. They
    /// stay valid until the next call.
    std::span<const std::uint8_t> peek(std::size_t wanted)
    {
        if (end_ - begin_ < wanted && !stopped_)
            refill();
        return {block_.data() + begin_, end_ - begin_};
    }

    /// Passes over bytes that peek has shown.
    void skip(std::size_t count) { begin_ += count; }

    /// Whether the stream stopped with its error or its end-of-file indicator set, or with neither.
    [[nodiscard]] bool failed() const { return stopped_ && std::ferror(stream_) != 0; }
    [[nodiscard]] bool ended() const { return stopped_ && std::feof(stream_) != 0; }

private:
    void refill();

    FILE* stream_;
    Block block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    bool stopped_ = false;
};

/// Owns an output file and gathers what is written to it. The file is written block by block and at the end;
/// whatever happens, what was put is handed to the file before it is closed.
class BlockWriter
{
public:
    explicit BlockWriter(File file);
    ~BlockWriter() { close(); }
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    /// Writes bytes.
    /// @return how many were taken: all of them, or those before the first that found no room
    std::size_t put(const void* bytes, std::size_t size);

    /// Writes what is left and closes the file.
    /// @return false when this, or a write before, failed
    bool close();

private:
    bool flush();

    File file_;
    Block block_;
    std::size_t used_ = 0;
    bool good_ = true;
};

#endif
