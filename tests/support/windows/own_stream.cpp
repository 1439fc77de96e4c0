// SPDX-License-Identifier: Apache-2.0
// Streams over something of our own. The C library has none, so they are made here, and the functions that
// the library and the tests call with streams are wrapped.
#include "support/own_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
FILE* __real_fopen(const char* name, const char* mode);
std::size_t __real_fread(void* data, std::size_t size, std::size_t items, FILE* stream);
char* __real_fgets(char* line, int size, FILE* stream);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream);
int __real_setvbuf(FILE* stream, char* buffer, int mode, std::size_t size);
long __real_ftell(FILE* stream);
int __real_fclose(FILE* stream);
int __real_feof(FILE* stream);
int __real_ferror(FILE* stream);
void __real_clearerr(FILE* stream);
int __real_fflush(FILE* stream);
int __real_getc(FILE* stream);
int __real_putc(int byte, FILE* stream);
int __real_fputs(const char* text, FILE* stream);
}

namespace
{
class OwnStream
{
public:
    OwnStream(std::unique_ptr<StreamBacking> backing, bool writes)
        : backing_{std::move(backing)}, writes_{writes}
    {
        face_._file = MARK;
        face_._tmpfname = reinterpret_cast<char*>(this);
    }

    FILE* face() { return &face_; }

    /// Found by its content, which is exchanged when a stream becomes standard input or output.
    static OwnStream* of(const FILE* stream)
    {
        return stream->_file == MARK ? reinterpret_cast<OwnStream*>(stream->_tmpfname) : nullptr;
    }

    std::size_t read(char* data, std::size_t size)
    {
        std::size_t done = 0;
        while (done < size && (!held_.empty() || fill())) {
            const std::size_t part = held_.copy(data + done, size - done);
            held_.erase(0, part);
            done += part;
        }
        return done;
    }

    char* line(char* line, int size)
    {
        int length = 0;
        const bool had_failed = failed_;
        while (length + 1 < size && read(line + length, 1) == 1)
            if (line[length++] == '\n')
                break;
        if (length == 0 || failed_ != had_failed)
            return nullptr;
        line[length] = '\0';
        return line;
    }

    std::size_t write(std::string_view data)
    {
        if (room_ == 0)
            return hand_over(data);
        std::size_t done = 0;
        while (done < data.size() && (held_.size() < room_ || flush() == 0)) {
            const std::string_view part = data.substr(done, room_ - held_.size());
            held_ += part;
            done += part.size();
        }
        return done;
    }

    int flush()
    {
        if (!writes_)
            return 0;
        held_.erase(0, hand_over(held_));
        return held_.empty() ? 0 : EOF;
    }

    long position()
    {
        const std::int64_t behind = backing_->seek(0, SEEK_CUR);
        const auto held = static_cast<std::int64_t>(held_.size());
        return behind == -1 ? -1 : static_cast<long>(writes_ ? behind + held : behind - held);
    }

    /// The object ends with it.
    int close()
    {
        const std::unique_ptr<OwnStream> owned{this};
        const int flushed = flush();
        const int closed = backing_->close();
        return flushed == 0 && closed == 0 ? 0 : EOF;
    }

    void set_room(std::size_t room) { room_ = room; }
    void drop() { held_.clear(); }
    void clear() { failed_ = ended_ = false; }
    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] bool ended() const { return ended_; }

private:
    bool fill()
    {
        if (ended_)
            return false;
        held_.resize(std::max<std::size_t>(room_, 1));
        const std::ptrdiff_t got = backing_->read(held_.data(), held_.size());
        held_.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0)));
        failed_ = failed_ || got < 0;
        ended_ = got == 0;
        return got > 0;
    }

    /// Gives bytes to the backing until it takes no more.
    std::size_t hand_over(std::string_view data)
    {
        std::size_t done = 0;
        while (done < data.size()) {
            const std::size_t part = backing_->write(data.data() + done, data.size() - done);
            if (part == 0) {
                failed_ = true;
                break;
            }
            done += part;
        }
        return done;
    }

    static constexpr int MARK = -77;

    FILE face_{};
    std::unique_ptr<StreamBacking> backing_;
    bool writes_;
    std::string held_; ///< read and not yet asked for, or written and not yet handed over
    std::size_t room_ = 4096;
    bool failed_ = false;
    bool ended_ = false;
};
} // namespace

FILE* open_own_stream(std::unique_ptr<StreamBacking> backing, const char* mode)
{
    return (new OwnStream{std::move(backing), mode[0] != 'r'})->face();
}

void drop_buffer(FILE* stream)
{
    OwnStream::of(stream)->drop();
}

namespace c_library
{
FILE* open(const char* name, const char* mode)
{
    return __real_fopen(name, mode);
}

std::size_t read(void* data, std::size_t size, std::size_t items, FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? own->read(static_cast<char*>(data), size * items) / size
                          : __real_fread(data, size, items, stream);
}

char* line(char* line, int size, FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? own->line(line, size) : __real_fgets(line, size, stream);
}

std::size_t write(const void* data, std::size_t size, std::size_t items, FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? own->write({static_cast<const char*>(data), size * items}) / size
                          : __real_fwrite(data, size, items, stream);
}

int buffer(FILE* stream, char* buffer, int mode, std::size_t size)
{
    OwnStream* const own = OwnStream::of(stream);
    if (own == nullptr)
        return __real_setvbuf(stream, buffer, mode, size);
    own->set_room(mode == _IONBF ? 0 : size);
    return 0;
}

long position(FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? own->position() : __real_ftell(stream);
}

int close(FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? own->close() : __real_fclose(stream);
}
} // namespace c_library

extern "C" {
int __wrap_feof(FILE* stream)
{
    const OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? static_cast<int>(own->ended()) : __real_feof(stream);
}

int __wrap_ferror(FILE* stream)
{
    const OwnStream* const own = OwnStream::of(stream);
    return own != nullptr ? static_cast<int>(own->failed()) : __real_ferror(stream);
}

void __wrap_clearerr(FILE* stream)
{
    if (OwnStream* const own = OwnStream::of(stream))
        own->clear();
    else
        __real_clearerr(stream);
}

int __wrap_fflush(FILE* stream)
{
    OwnStream* const own = stream == nullptr ? nullptr : OwnStream::of(stream);
    return own != nullptr ? own->flush() : __real_fflush(stream);
}

int __wrap_getc(FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    if (own == nullptr)
        return __real_getc(stream);
    char byte = 0;
    return own->read(&byte, 1) == 1 ? static_cast<unsigned char>(byte) : EOF;
}

int __wrap_fgetc(FILE* stream)
{
    return __wrap_getc(stream);
}

int __wrap_getchar()
{
    return __wrap_getc(stdin);
}

int __wrap_putc(int byte, FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    if (own == nullptr)
        return __real_putc(byte, stream);
    const char text = static_cast<char>(byte);
    return own->write({&text, 1}) == 1 ? static_cast<unsigned char>(text) : EOF;
}

int __wrap_fputc(int byte, FILE* stream)
{
    return __wrap_putc(byte, stream);
}

int __wrap_fputs(const char* text, FILE* stream)
{
    OwnStream* const own = OwnStream::of(stream);
    if (own == nullptr)
        return __real_fputs(text, stream);
    return own->write(text) == std::strlen(text) ? 0 : EOF;
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
