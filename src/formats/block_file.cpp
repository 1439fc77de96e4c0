// SPDX-License-Identifier: Apache-2.0
// Reads and writes streams in large blocks.
#include "formats/block_file.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
/// The most to read so that the stream needs one system call and no copy: up to a multiple of its buffer's
/// size.
std::size_t whole_buffers(std::size_t position, std::size_t room)
{
    const std::size_t beyond = (position + room) % BUFSIZ;
    return beyond < room ? room - beyond : room;
}
} // namespace

BlockReader::BlockReader(FILE* stream)
    : large_{new (std::nothrow) Memory<READ_SIZE>},
      stream_{stream},
      block_{large_ ? large_->bytes + MOST_WANTED : small_.bytes + MOST_WANTED},
      size_{large_ ? READ_SIZE : MOST_WANTED},
      position_{static_cast<std::size_t>(std::max(0L, std::ftell(stream)))},
      begin_{block_},
      end_{block_}
{
}

void BlockReader::refill()
{
    const auto kept = static_cast<std::size_t>(end_ - begin_);
    std::memmove(block_ - kept, begin_, kept);
    const std::size_t room = whole_buffers(position_, size_);
    const std::size_t got = std::fread(block_, 1, room, stream_);
    begin_ = block_ - kept;
    end_ = block_ + got;
    position_ += got;
    stopped_ = got < room;
}

BlockWriter::BlockWriter(File file) : buffer_{new (std::nothrow) char[WRITE_SIZE]}, file_{std::move(file)}
{
    if (buffer_)
        std::setvbuf(file_.get(), buffer_.get(), _IOFBF, WRITE_SIZE);
}
