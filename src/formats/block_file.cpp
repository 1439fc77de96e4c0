// Reads and writes streams in large blocks.
#include "formats/block_file.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
// Room for a whole block beside what is still wanted of the one before.
constexpr std::size_t LARGE_SIZE = BlockReader::MOST_WANTED + BLOCK_SIZE;

/// How much to read at most, so that the stream can read all of it in place with one system call: up to a
/// multiple of its buffer's size.
std::size_t whole_buffers(std::size_t position, std::size_t room)
{
    const std::size_t beyond = (position + room) % BUFSIZ;
    return beyond < room ? room - beyond : room;
}
} // namespace

BlockReader::BlockReader(FILE* stream)
    : stream_{stream},
      large_block_{new (std::nothrow) std::uint8_t[LARGE_SIZE]},
      block_{large_block_ ? large_block_.get() : small_block_},
      size_{large_block_ ? LARGE_SIZE : sizeof small_block_},
      position_{static_cast<std::size_t>(std::max(0L, std::ftell(stream)))}
{
}

void BlockReader::refill()
{
    const std::size_t kept = end_ - begin_;
    std::memmove(block_, block_ + begin_, kept);
    const std::size_t room = whole_buffers(position_, std::min(size_ - kept, BLOCK_SIZE));
    const std::size_t got = std::fread(block_ + kept, 1, room, stream_);
    begin_ = 0;
    end_ = kept + got;
    position_ += got;
    stopped_ = got < room;
}

BlockWriter::BlockWriter(File file) : buffer_{new (std::nothrow) char[BLOCK_SIZE]}, file_{std::move(file)}
{
    if (buffer_)
        std::setvbuf(file_.get(), buffer_.get(), _IOFBF, BLOCK_SIZE);
}
