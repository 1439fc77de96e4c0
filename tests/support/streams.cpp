// Streams that fail at a chosen byte.
#include "support/streams.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace
{
struct Source {
    std::string content;
    std::size_t fail_at;
    std::size_t place = 0;
};

ssize_t read_source(void* cookie, char* buffer, size_t size)
{
    auto& source = *static_cast<Source*>(cookie);
    const std::size_t end = std::min(source.content.size(), source.fail_at);
    const std::size_t length = std::min(size, end - source.place);
    if (length == 0 && source.place < source.content.size()) {
        errno = EIO;
        return -1;
    }
    std::memcpy(buffer, source.content.data() + source.place, length);
    source.place += length;
    return static_cast<ssize_t>(length);
}

int close_source(void* cookie)
{
    delete static_cast<Source*>(cookie);
    return 0;
}

struct Sink {
    std::size_t room;
    std::string& taken;
};

ssize_t write_sink(void* cookie, const char* buffer, size_t size)
{
    auto& sink = *static_cast<Sink*>(cookie);
    const std::size_t length = std::min(size, sink.room - sink.taken.size());
    sink.taken.append(buffer, length);
    if (length == 0)
        errno = ENOSPC;
    return static_cast<ssize_t>(length);
}

int close_sink(void* cookie)
{
    delete static_cast<Sink*>(cookie);
    return 0;
}
} // namespace

FILE* stream_failing_at(std::string content, std::size_t fail_at)
{
    return fopencookie(new Source{std::move(content), fail_at}, "rb",
                       {.read = read_source, .write = nullptr, .seek = nullptr, .close = close_source});
}

FILE* stream_with_room(std::size_t room, std::string& taken)
{
    return fopencookie(new Sink{room, taken}, "wb",
                       {.read = nullptr, .write = write_sink, .seek = nullptr, .close = close_sink});
}
