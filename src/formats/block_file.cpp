// Reads and writes streams in large blocks.
#include "formats/block_file.h"

#include <cstring>
#include <new>

BlockReader::BlockReader(FILE* stream)
    : stream_{stream},
      large_block_{new (std::nothrow) std::uint8_t[BLOCK_SIZE]},
      block_{large_block_ ? large_block_.get() : small_block_},
      size_{large_block_ ? BLOCK_SIZE : sizeof small_block_}
{
}

void BlockReader::refill()
{
    const std::size_t kept = end_ - begin_;
    std::memmove(block_, block_ + begin_, kept);
    const std::size_t room = size_ - kept;
    const std::size_t got = std::fread(block_ + kept, 1, room, stream_);
    begin_ = 0;
    end_ = kept + got;
    stopped_ = got < room;
}

BlockWriter::BlockWriter(File file) : buffer_{new (std::nothrow) char[BLOCK_SIZE]}, file_{std::move(file)}
{
    if (buffer_)
        std::setvbuf(file_.get(), buffer_.get(), _IOFBF, BLOCK_SIZE);
}
