// Reads and writes streams in large blocks.
#include "formats/block_file.h"

#include <algorithm>
#include <cstring>
#include <new>

Block::Block() : large_{new (std::nothrow) std::uint8_t[BLOCK_SIZE]} {}

void BlockReader::refill()
{
    const std::size_t kept = end_ - begin_;
    std::memmove(block_.data(), block_.data() + begin_, kept);
    const std::size_t wanted = block_.size() - kept;
    const std::size_t got = std::fread(block_.data() + kept, 1, wanted, stream_);
    begin_ = 0;
    end_ = kept + got;
    stopped_ = got < wanted;
}

BlockWriter::BlockWriter(File file) : file_{std::move(file)}
{
    // Every write is a block already, so the stream needs no buffer of its own.
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

std::size_t BlockWriter::put(const void* bytes, std::size_t size)
{
    const auto* next = static_cast<const std::uint8_t*>(bytes);
    std::size_t taken = 0;
    while (taken < size) {
        if (used_ == block_.size() && !flush())
            return taken;
        const std::size_t fits = std::min(size - taken, block_.size() - used_);
        std::memcpy(block_.data() + used_, next + taken, fits);
        used_ += fits;
        taken += fits;
    }
    return taken;
}

bool BlockWriter::flush()
{
    const std::size_t size = std::exchange(used_, 0);
    if (size > 0 && std::fwrite(block_.data(), 1, size, file_.get()) != size)
        good_ = false;
    return good_;
}

bool BlockWriter::close()
{
    if (!file_)
        return good_;
    flush();
    if (std::fclose(file_.release()) != 0)
        good_ = false;
    return good_;
}
