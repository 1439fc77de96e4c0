// SPDX-License-Identifier: Apache-2.0
// Makes system calls of the program under test fail, or lets something happen just before one.
#include "support/system_faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <utility>

// The linker sends every call of f to __wrap_f, and lets __real_f be the function itself.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
int __real_open(const char* name, int flags, mode_t mode);
ssize_t __real_write(int descriptor, const void* data, std::size_t size);
int __real_fsync(int descriptor);
int __real_close(int descriptor);
int __real_rename(const char* from, const char* to);
int __real_renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags);
int __real_link(const char* from, const char* to);
int __real_fdatasync(int descriptor);
int __real_ftruncate(int descriptor, off_t size);
}

namespace
{
struct State {
    SystemCall call{};
    int left = 0; ///< calls up to the one that fails; 0: none does
    int error = 0;
    bool fails_always = false;
    SystemCall always{};
    int always_error = 0;
    std::function<void()> action;
    SystemCall action_call{};
    std::size_t most_written = SIZE_MAX;
    SystemCalls* calls = nullptr;
};
thread_local State state;

/// Notes a call. @return whether it fails; errno is then set
bool fails(SystemCall call)
{
    if (state.calls != nullptr)
        state.calls->made.push_back(call);
    if (state.action && state.action_call == call)
        std::exchange(state.action, nullptr)();
    if (state.fails_always && state.always == call) {
        errno = state.always_error;
        return true;
    }
    if (state.left == 0 || state.call != call || --state.left != 0)
        return false;
    errno = state.error;
    return true;
}
} // namespace

extern "C" {
int __wrap_open(const char* name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails(SystemCall::open) ? -1 : __real_open(name, flags, mode);
}

ssize_t __wrap_write(int descriptor, const void* data, std::size_t size)
{
    return fails(SystemCall::write) ? -1 : __real_write(descriptor, data, std::min(size, state.most_written));
}

int __wrap_fsync(int descriptor)
{
    return fails(SystemCall::fsync) ? -1 : __real_fsync(descriptor);
}

int __wrap_close(int descriptor)
{
    const bool is_failure = fails(SystemCall::close);
    const int error = errno;
    const int result = __real_close(descriptor);
    if (!is_failure)
        return result;
    errno = error;
    return -1;
}

int __wrap_rename(const char* from, const char* to)
{
    return fails(SystemCall::rename) ? -1 : __real_rename(from, to);
}

int __wrap_renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags)
{
    return fails(SystemCall::renameat2) ? -1 : __real_renameat2(from_folder, from, to_folder, to, flags);
}

int __wrap_link(const char* from, const char* to)
{
    return fails(SystemCall::link) ? -1 : __real_link(from, to);
}

int __wrap_fdatasync(int descriptor)
{
    return fails(SystemCall::fdatasync) ? -1 : __real_fdatasync(descriptor);
}

int __wrap_ftruncate(int descriptor, off_t size)
{
    return fails(SystemCall::ftruncate) ? -1 : __real_ftruncate(descriptor, size);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

const char* name_of(SystemCall call)
{
    constexpr const char* names[] = {"open",      "write", "fsync",     "close",    "rename",
                                     "renameat2", "link",  "fdatasync", "ftruncate"};
    return names[static_cast<std::size_t>(call)];
}

SystemFault::SystemFault(SystemCall call, int n, int error)
{
    state.call = call;
    state.left = n;
    state.error = error;
}

SystemFault::~SystemFault()
{
    state.left = 0;
}

SystemFailure::SystemFailure(SystemCall call, int error)
{
    state.fails_always = true;
    state.always = call;
    state.always_error = error;
}

SystemFailure::~SystemFailure()
{
    state.fails_always = false;
}

BeforeSystemCall::BeforeSystemCall(SystemCall call, std::function<void()> action)
{
    state.action_call = call;
    state.action = std::move(action);
}

BeforeSystemCall::~BeforeSystemCall()
{
    state.action = nullptr;
}

ShortWrites::ShortWrites(std::size_t most)
{
    state.most_written = most;
}

ShortWrites::~ShortWrites()
{
    state.most_written = SIZE_MAX;
}

SystemCalls::SystemCalls()
{
    state.calls = this;
}

SystemCalls::~SystemCalls()
{
    state.calls = nullptr;
}
