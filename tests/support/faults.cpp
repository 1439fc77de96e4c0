// Makes the C library's file operations and allocation fail at a chosen call.
#include "support/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>

namespace
{
/// Counts calls, and down to the one that is to fail.
class Countdown
{
public:
    void plan(int n) { left_ = n; }
    void reset() { *this = {}; }
    [[nodiscard]] int calls() const { return calls_; }
    /// Whether the call that is being made is the one.
    bool falls_due()
    {
        ++calls_;
        return left_ > 0 && --left_ == 0;
    }

private:
    int left_ = 0;
    int calls_ = 0;
};

struct Faults {
    Countdown reads;
    int read_indicator = 0;
    Countdown writes;
    std::size_t items_written = 0;
    Countdown closes;
    Countdown allocations;
};

thread_local Faults faults;

// The indicators of a stream, which only reading can set otherwise.
constexpr int END_OF_FILE = 0x0010;
constexpr int ERROR = 0x0020;

bool spoils_read(FILE* stream)
{
    if (!faults.reads.falls_due())
        return false;
    stream->_flags |= faults.read_indicator;
    errno = EIO;
    return true;
}
} // namespace

void fail_read_at(int n)
{
    faults.reads.plan(n);
    faults.read_indicator = ERROR;
}

void end_read_at(int n)
{
    faults.reads.plan(n);
    faults.read_indicator = END_OF_FILE;
}

void fail_write_at(int n, std::size_t items_written)
{
    faults.writes.plan(n);
    faults.items_written = items_written;
}

void fail_close_at(int n)
{
    faults.closes.plan(n);
}

void fail_allocation_at(int n)
{
    faults.allocations.plan(n);
}

void no_faults()
{
    faults = {};
}

CallCounts counted_calls()
{
    return {faults.reads.calls(), faults.writes.calls(), faults.closes.calls(), faults.allocations.calls()};
}

// The linker sends every call of f here as __wrap_f, and lets __real_f be the function itself.
extern "C" {
std::size_t __real_fread(void* data, std::size_t size, std::size_t items, FILE* stream);
char* __real_fgets(char* line, int size, FILE* stream);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream);
int __real_fclose(FILE* stream);
void* __real__ZnwmSt11align_val_tRKSt9nothrow_t(std::size_t size, std::align_val_t alignment,
                                                const std::nothrow_t& tag);
void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

std::size_t __wrap_fread(void* data, std::size_t size, std::size_t items, FILE* stream)
{
    return spoils_read(stream) ? 0 : __real_fread(data, size, items, stream);
}

char* __wrap_fgets(char* line, int size, FILE* stream)
{
    return spoils_read(stream) ? nullptr : __real_fgets(line, size, stream);
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream)
{
    if (!faults.writes.falls_due())
        return __real_fwrite(data, size, items, stream);
    errno = ENOSPC;
    stream->_flags |= ERROR;
    return __real_fwrite(data, size, std::min(items, faults.items_written), stream);
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

int __wrap_fclose(FILE* stream)
{
    const bool fails = faults.closes.falls_due();
    const int result = __real_fclose(stream);
    return fails ? EOF : result;
}

void* __wrap__ZnwmSt11align_val_tRKSt9nothrow_t(std::size_t size, std::align_val_t alignment,
                                                const std::nothrow_t& tag)
{
    return faults.allocations.falls_due() ? nullptr
                                          : __real__ZnwmSt11align_val_tRKSt9nothrow_t(size, alignment, tag);
}

void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag)
{
    return faults.allocations.falls_due() ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}
}
