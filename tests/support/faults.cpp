// SPDX-License-Identifier: Apache-2.0
// Makes operations on files, and allocations, fail.
#include "support/faults.h"

#include "support/own_stream.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

using namespace fault_points;

namespace
{
/// A file, bytes to read, or a text to write into.
class Backing : public StreamBacking
{
public:
    std::string name;
    FILE* file = nullptr;
    std::string content;
    std::string* taken = nullptr;
    std::size_t readable = SIZE_MAX;
    std::size_t writable = SIZE_MAX;
    Fault refusal = Fault::none; ///< of whatever is asked for: error or end
    FILE* stream = nullptr;

    std::ptrdiff_t read(char* data, std::size_t size) override;
    std::size_t write(const char* data, std::size_t size) override;
    std::int64_t seek(std::int64_t offset, int whence) override;
    int close() override;

private:
    std::ptrdiff_t read_source(char* data, std::size_t size)
    {
        if (file != nullptr)
            return ::read(fileno(file), data, static_cast<unsigned>(size));
        size = content.copy(data, size);
        content.erase(0, size);
        return static_cast<std::ptrdiff_t>(size);
    }
    std::ptrdiff_t write_target(const char* data, std::size_t size)
    {
        if (taken != nullptr)
            taken->append(data, size);
        return file != nullptr ? ::write(fileno(file), data, static_cast<unsigned>(size))
                               : static_cast<std::ptrdiff_t>(size);
    }
};

struct State {
    int scopes = 0;
    int hidden_ends = 0;
    int allocation_to_fail = 0; ///< 1 for the next
    const SmallOutputFile* small_output = nullptr;
    Recording* recording = nullptr;
    std::map<FILE*, Backing*> streams;
};
thread_local State state;

Backing* backing_of(FILE* stream)
{
    const auto found = state.streams.find(stream);
    return found == state.streams.end() ? nullptr : found->second;
}

bool sets_end(Fault fault)
{
    return fault == Fault::end || fault == Fault::short_end || fault == Fault::odd_end;
}

/// An operation that is being made: counted, noted, and failing if that is planned.
class Attempt
{
public:
    Attempt(Operation operation, const std::string& file, std::size_t asked)
    {
        if (operation == Operation::allocation && --state.allocation_to_fail == 0)
            fault_ = Fault::error;
        Recording* const recording = state.recording;
        const bool is_transfer = operation > Operation::description;
        if (recording == nullptr || (is_transfer && recording->depth() != Depth::transfers))
            return;
        place_ = recording->note(operation, file, asked);
        if (const Fault fault = recording->fault_at(place_); fault != Fault::none)
            fault_ = fault;
    }

    [[nodiscard]] Fault fault() const { return fault_; }

    [[nodiscard]] bool fails() const { return fault_ != Fault::none; }

    /// How much of what would be done is done.
    [[nodiscard]] std::size_t share(std::size_t whole) const
    {
        const std::size_t half = whole / 2;
        switch (fault_) {
        case Fault::none:
            return whole;
        case Fault::short_error:
        case Fault::short_end:
            return half;
        case Fault::odd_error:
        case Fault::odd_end:
            return whole == 0 ? 0 : std::min(whole - 1, half ^ 1U);
        case Fault::piecemeal:
            return std::min<std::size_t>(whole, 1);
        default:
            return 0;
        }
    }

    void done(std::size_t bytes)
    {
        if (place_ != NOT_NOTED)
            state.recording->points()[place_].done = bytes;
    }

private:
    static constexpr std::size_t NOT_NOTED = SIZE_MAX;
    Fault fault_ = Fault::none;
    std::size_t place_ = NOT_NOTED;
};

// What a stream asks of the file behind it.

std::ptrdiff_t Backing::read(char* data, std::size_t size)
{
    errno = EIO;
    if (refusal != Fault::none)
        return sets_end(refusal) ? 0 : -1;
    Attempt attempt{Operation::transfer_in, name, size};
    if (attempt.fault() == Fault::error || readable == 0)
        return -1;
    const std::ptrdiff_t done = read_source(data, std::min(attempt.share(size), readable));
    if (done <= 0)
        return done;
    attempt.done(static_cast<std::size_t>(done));
    readable -= static_cast<std::size_t>(done);
    return done;
}

std::size_t Backing::write(const char* data, std::size_t size)
{
    errno = ENOSPC;
    if (refusal != Fault::none)
        return 0;
    Attempt attempt{Operation::transfer_out, name, size};
    const std::ptrdiff_t done = write_target(data, std::min(attempt.share(size), writable));
    if (done <= 0)
        return 0;
    attempt.done(static_cast<std::size_t>(done));
    writable -= static_cast<std::size_t>(done);
    return static_cast<std::size_t>(done);
}

std::int64_t Backing::seek(std::int64_t offset, int whence)
{
    return file == nullptr ? StreamBacking::seek(offset, whence) : lseek64(fileno(file), offset, whence);
}

int Backing::close()
{
    state.streams.erase(stream);
    Attempt attempt{Operation::transfer_end, name, 0};
    const int result = file == nullptr ? 0 : c_library::close(file);
    attempt.done(1);
    return attempt.fails() ? EOF : result;
}

FILE* stream_over(std::unique_ptr<Backing> backing, const char* mode)
{
    Backing& one = *backing;
    one.stream = open_own_stream(std::move(backing), mode);
    state.streams[one.stream] = &one;
    return one.stream;
}

/// Lets a stream find by itself that its file refuses to be read on. What it holds is dropped.
void stop_reading(Backing& backing, Fault fault)
{
    std::clearerr(backing.stream);
    drop_buffer(backing.stream);
    backing.refusal = fault;
    (void)std::getc(backing.stream);
    backing.refusal = Fault::none;
}

/// Lets a stream find by itself that its file takes no more.
void stop_writing(Backing& backing)
{
    (void)std::fflush(backing.stream);
    backing.refusal = Fault::error;
    (void)std::putc('\0', backing.stream);
    (void)std::fflush(backing.stream);
    drop_buffer(backing.stream);
    backing.refusal = Fault::none;
}

bool allocation_fails(std::size_t size)
{
    if (state.scopes == 0)
        return false;
    Attempt attempt{Operation::allocation, "", size};
    if (attempt.fails())
        return true;
    attempt.done(size);
    return false;
}
} // namespace

FILE* stream_failing_at(std::string content, std::size_t fail_at)
{
    auto backing = std::make_unique<Backing>();
    if (fail_at < content.size())
        backing->readable = fail_at;
    backing->content = std::move(content);
    return stream_over(std::move(backing), "rb");
}

FILE* stream_with_room(std::size_t room, std::string& taken)
{
    auto backing = std::make_unique<Backing>();
    backing->writable = room;
    backing->taken = &taken;
    return stream_over(std::move(backing), "wb");
}

FaultScope::FaultScope()
{
    ++state.scopes;
}

FaultScope::~FaultScope()
{
    if (--state.scopes == 0)
        state.allocation_to_fail = 0;
}

void fail_allocation_at(int n)
{
    state.allocation_to_fail = n;
}

SmallOutputFile::SmallOutputFile(std::size_t bytes) : room{bytes}
{
    state.small_output = this;
}

SmallOutputFile::~SmallOutputFile()
{
    state.small_output = nullptr;
}

HiddenEnd::HiddenEnd()
{
    ++state.hidden_ends;
}

HiddenEnd::~HiddenEnd()
{
    --state.hidden_ends;
}

int open_faulty_streams()
{
    return static_cast<int>(state.streams.size());
}

namespace fault_points
{
std::vector<Fault> faults_of(Operation operation)
{
    using enum Fault;
    switch (operation) {
    case Operation::read:
        return {error, end, short_error, short_end, odd_error, odd_end};
    case Operation::line:
        return {error, end};
    case Operation::write:
        return {error, short_error, odd_error};
    case Operation::transfer_in:
        return {error, end, piecemeal};
    case Operation::transfer_out:
        return {error, short_error, odd_error};
    case Operation::description:
        return {};
    default:
        return {error};
    }
}

std::string described(Fault fault)
{
    constexpr const char* names[] = {"error",        "end",        "error after half",  "end after half",
                                     "error at odd", "end at odd", "one byte at a time"};
    return names[static_cast<std::size_t>(fault)];
}

std::string described(const Point& point)
{
    constexpr const char* names[] = {"fopen",        "fread",       "fgets",        "fwrite",
                                     "setvbuf",      "ftell",       "fclose",       "new",
                                     "error's text", "transfer in", "transfer out", "transfer end"};
    return std::string{names[static_cast<std::size_t>(point.operation)]} + ' ' +
           std::to_string(point.ordinal) + ' ' + point.file + " (asked " + std::to_string(point.asked) +
           ", done " + std::to_string(point.done) + ')';
}

Recording::Recording(Depth depth) : depth_{depth}
{
    state.recording = this;
}

Recording::~Recording()
{
    state.recording = nullptr;
}

void Recording::plan(std::size_t place, Fault fault)
{
    place_ = place;
    fault_ = fault;
}

void Recording::note_description()
{
    points_[note(Operation::description, "", 0)].done = 1;
}

std::size_t Recording::note(Operation operation, const std::string& file, std::size_t asked)
{
    points_.push_back({operation, file, ++counts_[{operation, file}], asked, 0});
    return points_.size() - 1;
}
} // namespace fault_points

// The linker sends every call of f to __wrap_f.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
FILE* __wrap_fopen(const char* name, const char* mode)
{
    if (state.scopes == 0)
        return c_library::open(name, mode);
    Attempt attempt{Operation::open, name, 0};
    if (attempt.fails()) {
        errno = EMFILE;
        return nullptr;
    }
    FILE* const file = c_library::open(name, mode);
    if (file == nullptr)
        return nullptr;
    attempt.done(1);
    auto backing = std::make_unique<Backing>();
    backing->name = name;
    backing->file = file;
    const SmallOutputFile* const small = mode[0] == 'w' ? state.small_output : nullptr;
    if (small != nullptr) {
        backing->writable = small->room;
        backing->taken = &small->taken;
    }
    FILE* const stream = stream_over(std::move(backing), mode);
    if (small != nullptr && !small->gathers)
        c_library::buffer(stream, nullptr, _IONBF, 0);
    return stream;
}

std::size_t __wrap_fread(void* data, std::size_t size, std::size_t items, FILE* stream)
{
    Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::read(data, size, items, stream);
    Attempt attempt{Operation::read, backing->name, size * items};
    // What there is to read is known only when it has been read.
    const std::size_t done = attempt.share(c_library::read(data, size, items, stream));
    if (attempt.fails())
        stop_reading(*backing, attempt.fault());
    else if (state.hidden_ends > 0 && std::ferror(stream) == 0)
        std::clearerr(stream);
    attempt.done(done * size);
    return done;
}

char* __wrap_fgets(char* line, int size, FILE* stream)
{
    Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::line(line, size, stream);
    Attempt attempt{Operation::line, backing->name, static_cast<std::size_t>(size)};
    char* result = nullptr;
    if (attempt.fails())
        stop_reading(*backing, attempt.fault());
    else
        result = c_library::line(line, size, stream);
    attempt.done(result == nullptr ? 0 : std::strlen(result));
    return result;
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream)
{
    Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::write(data, size, items, stream);
    Attempt attempt{Operation::write, backing->name, size * items};
    const std::size_t done = c_library::write(data, size, attempt.share(items), stream);
    if (attempt.fails())
        stop_writing(*backing);
    attempt.done(done * size);
    return done;
}

int __wrap_setvbuf(FILE* stream, char* buffer, int mode, std::size_t size)
{
    const Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::buffer(stream, buffer, mode, size);
    Attempt attempt{Operation::buffer, backing->name, 0};
    if (attempt.fails())
        return EOF;
    attempt.done(1);
    return c_library::buffer(stream, buffer, mode, size);
}

long __wrap_ftell(FILE* stream)
{
    const Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::position(stream);
    Attempt attempt{Operation::position, backing->name, 0};
    if (attempt.fails())
        return -1;
    attempt.done(1);
    return c_library::position(stream);
}

int __wrap_fclose(FILE* stream)
{
    const Backing* const backing = backing_of(stream);
    if (backing == nullptr)
        return c_library::close(stream);
    Attempt attempt{Operation::close, backing->name, 0};
    int result = c_library::close(stream);
    if (attempt.fails())
        result = EOF;
    attempt.done(result == 0 ? 1 : 0);
    return result;
}

// With -D_FORTIFY_SOURCE these replace the plain functions.
std::size_t __wrap___fread_chk(void* data, std::size_t /*room*/, std::size_t size, std::size_t items,
                               FILE* stream)
{
    return __wrap_fread(data, size, items, stream);
}

char* __wrap___fgets_chk(char* line, std::size_t /*room*/, int size, FILE* stream)
{
    return __wrap_fgets(line, size, stream);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

// The allocations that the library makes without an exception: these take the place of the C++ library's.

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    try {
        return allocation_fails(size) ? nullptr : ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept
{
    try {
        return allocation_fails(size) ? nullptr : ::operator new(size, alignment);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
