// Records every operation of the C library that can fail, and makes a chosen one of them fail.
#include "fault_points.h"

#include "support/seen_errors.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <utility>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
FILE* __real_fopen(const char* name, const char* mode);
std::size_t __real_fread(void* data, std::size_t size, std::size_t items, FILE* stream);
char* __real_fgets(char* line, int size, FILE* stream);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream);
int __real_setvbuf(FILE* stream, char* buffer, int mode, std::size_t size);
long __real_ftell(FILE* stream);
int __real_fclose(FILE* stream);
void* __real__ZnwmSt11align_val_tRKSt9nothrow_t(std::size_t size, std::align_val_t alignment,
                                                const std::nothrow_t& tag);
void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __real__Znwm(std::size_t size);
}

namespace fault_points
{
namespace
{
struct Record {
    Depth depth = Depth::calls;
    std::vector<Point> points;
    std::map<std::pair<Operation, std::string>, std::size_t> counts;
    std::map<std::pair<Operation, std::string>, std::size_t> totals;
    std::map<FILE*, std::string> streams;
    std::optional<std::size_t> place;
    Fault fault = Fault::error;
    std::function<void()> on_failure;
};

std::unique_ptr<Record> record;
bool next_new_fails = false;

// The indicators of a stream, which only reading and writing can set otherwise.
constexpr int END_OF_FILE = 0x0010;
constexpr int ERROR = 0x0020;

/// The name of a stream that was opened while the recording lives, or null.
const std::string* name_of(FILE* stream)
{
    if (!record)
        return nullptr;
    const auto found = record->streams.find(stream);
    return found == record->streams.end() ? nullptr : &found->second;
}

/// Notes an operation. The reference is good until the next one.
Point& note(Operation operation, const std::string& file, std::size_t asked)
{
    const std::size_t ordinal = ++record->counts[{operation, file}];
    return record->points.emplace_back(Point{operation, file, ordinal, asked, 0});
}

/// The fault of the operation noted last, if it is the one.
std::optional<Fault> fault_due()
{
    if (!record->place || *record->place != record->points.size() - 1)
        return std::nullopt;
    return record->fault;
}

bool sets_end(Fault fault)
{
    return fault == Fault::end || fault == Fault::short_end || fault == Fault::odd_end;
}

/// How much of what would be done is done in spite of a fault.
std::size_t share(Fault fault, std::size_t whole)
{
    const std::size_t half = whole / 2;
    switch (fault) {
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

void indicate(FILE* stream, Fault fault)
{
    stream->_flags |= sets_end(fault) ? END_OF_FILE : ERROR;
    errno = EIO;
}

void finish(std::size_t place, FILE* stream, std::size_t done)
{
    Point& point = record->points[place];
    point.done = done;
    point.total = record->totals[{point.operation, point.file}] += done;
    point.error = std::ferror(stream) != 0;
    point.end = std::feof(stream) != 0;
}

/// A stream's file, when the transfers are recorded.
struct Transfers {
    FILE* real;
    std::string name;
    // A piecemeal reading leaves the rest of what was asked for the next transfer.
};

ssize_t transfer_in(void* cookie, char* data, std::size_t size)
{
    auto* file = static_cast<Transfers*>(cookie);
    if (!record)
        return static_cast<ssize_t>(__real_fread(data, 1, size, file->real));
    note(Operation::transfer_in, file->name, size);
    const std::size_t place = record->points.size() - 1;
    const auto fault = fault_due();
    if (fault == Fault::error) {
        errno = EIO;
        return -1;
    }
    const std::size_t wanted = fault ? share(*fault, size) : size;
    const std::size_t done = __real_fread(data, 1, wanted, file->real);
    record->points[place].done = done;
    return static_cast<ssize_t>(done);
}

ssize_t transfer_out(void* cookie, const char* data, std::size_t size)
{
    auto* file = static_cast<Transfers*>(cookie);
    if (!record)
        return static_cast<ssize_t>(__real_fwrite(data, 1, size, file->real));
    note(Operation::transfer_out, file->name, size);
    const std::size_t place = record->points.size() - 1;
    const auto fault = fault_due();
    const std::size_t wanted = fault ? share(*fault, size) : size;
    const std::size_t done = __real_fwrite(data, 1, wanted, file->real);
    record->points[place].done = done;
    if (fault)
        errno = ENOSPC;
    return static_cast<ssize_t>(done);
}

int transfer_end(void* cookie)
{
    const std::unique_ptr<Transfers> file{static_cast<Transfers*>(cookie)};
    const int result = __real_fclose(file->real);
    if (!record)
        return result;
    note(Operation::transfer_end, file->name, 0).done = 1;
    return fault_due() ? EOF : result;
}
} // namespace

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

namespace
{
void note_failure(const char* /*format*/)
{
    note(Operation::description, "", 0).done = 1;
    if (record->on_failure)
        record->on_failure();
}
} // namespace

Recording::Recording(Depth depth)
{
    record = std::make_unique<Record>();
    record->depth = depth;
    error_format_listener = note_failure;
}

Recording::~Recording()
{
    error_format_listener = nullptr;
    record.reset();
}

void Recording::plan(std::size_t place, Fault fault)
{
    record->place = place;
    record->fault = fault;
}

void Recording::on_failure(std::function<void()> action)
{
    record->on_failure = std::move(action);
}

const std::vector<Point>& Recording::points() const
{
    return record->points;
}

int Recording::open_streams() const
{
    return static_cast<int>(record->streams.size());
}

void fail_next_new()
{
    next_new_fails = true;
}
} // namespace fault_points

using namespace fault_points;

extern "C" {
FILE* __wrap_fopen(const char* name, const char* mode)
{
    if (!record)
        return __real_fopen(name, mode);
    note(Operation::open, name, 0);
    const std::size_t place = record->points.size() - 1;
    if (fault_due()) {
        errno = EMFILE;
        return nullptr;
    }
    FILE* stream = __real_fopen(name, mode);
    if (stream != nullptr && record->depth == Depth::transfers) {
        std::setvbuf(stream, nullptr, _IONBF, 0);
        stream = fopencookie(new Transfers{stream, name}, mode,
                             {transfer_in, transfer_out, nullptr, transfer_end});
    }
    if (stream == nullptr)
        return nullptr;
    record->points[place].done = 1;
    record->streams[stream] = name;
    return stream;
}

std::size_t __wrap_fread(void* data, std::size_t size, std::size_t items, FILE* stream)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_fread(data, size, items, stream);
    note(Operation::read, *name, size * items);
    const std::size_t place = record->points.size() - 1;
    const auto fault = fault_due();
    std::size_t done = 0;
    if (!fault) {
        done = __real_fread(data, size, items, stream);
    } else {
        // What there is to read is known only when it has been read.
        done = share(*fault, __real_fread(data, size, items, stream));
        stream->_flags &= ~(ERROR | END_OF_FILE);
        indicate(stream, *fault);
    }
    finish(place, stream, done * size);
    return done;
}

char* __wrap_fgets(char* line, int size, FILE* stream)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_fgets(line, size, stream);
    note(Operation::line, *name, static_cast<std::size_t>(size));
    const std::size_t place = record->points.size() - 1;
    char* result = nullptr;
    if (const auto fault = fault_due())
        indicate(stream, *fault);
    else
        result = __real_fgets(line, size, stream);
    finish(place, stream, result == nullptr ? 0 : std::strlen(result));
    return result;
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_fwrite(data, size, items, stream);
    note(Operation::write, *name, size * items);
    const std::size_t place = record->points.size() - 1;
    const auto fault = fault_due();
    const std::size_t done = __real_fwrite(data, size, fault ? share(*fault, items) : items, stream);
    if (fault) {
        indicate(stream, *fault);
        errno = ENOSPC;
    }
    finish(place, stream, done * size);
    if (done < items)
        record->points[place].refused = static_cast<const char*>(data)[done * size];
    return done;
}

int __wrap_setvbuf(FILE* stream, char* buffer, int mode, std::size_t size)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_setvbuf(stream, buffer, mode, size);
    Point& point = note(Operation::buffer, *name, 0);
    if (fault_due())
        return EOF;
    point.done = 1;
    return __real_setvbuf(stream, buffer, mode, size);
}

long __wrap_ftell(FILE* stream)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_ftell(stream);
    Point& point = note(Operation::position, *name, 0);
    if (fault_due())
        return -1;
    point.done = 1;
    return __real_ftell(stream);
}

int __wrap_fclose(FILE* stream)
{
    const std::string* name = name_of(stream);
    if (name == nullptr)
        return __real_fclose(stream);
    note(Operation::close, *name, 0);
    const std::size_t place = record->points.size() - 1;
    const bool fails = fault_due().has_value();
    record->streams.erase(stream);
    int result = __real_fclose(stream);
    if (fails)
        result = EOF;
    record->points[place].done = result == 0 ? 1 : 0;
    return result;
}

// With -D_FORTIFY_SOURCE these take the place of the plain functions.
std::size_t __wrap___fread_chk(void* data, std::size_t /*room*/, std::size_t size, std::size_t items,
                               FILE* stream)
{
    return __wrap_fread(data, size, items, stream);
}

char* __wrap___fgets_chk(char* line, std::size_t /*room*/, int size, FILE* stream)
{
    return __wrap_fgets(line, size, stream);
}

void* __wrap__ZnwmSt11align_val_tRKSt9nothrow_t(std::size_t size, std::align_val_t alignment,
                                                const std::nothrow_t& tag)
{
    if (record) {
        Point& point = note(Operation::allocation, "", size);
        if (fault_due())
            return nullptr;
        point.done = size;
    }
    return __real__ZnwmSt11align_val_tRKSt9nothrow_t(size, alignment, tag);
}

void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag)
{
    if (record) {
        Point& point = note(Operation::allocation, "", size);
        if (fault_due())
            return nullptr;
        point.done = size;
    }
    return __real__ZnamRKSt9nothrow_t(size, tag);
}

void* __wrap__Znwm(std::size_t size)
{
    if (std::exchange(next_new_fails, false))
        throw std::bad_alloc{};
    return __real__Znwm(size);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
