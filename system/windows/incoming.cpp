// SPDX-License-Identifier: Apache-2.0
// A descriptor that another process has made cannot be asked whether it has something: a thread reads it.
#include "system/incoming.h"

#include "system/windows/api.h"
#include "system/windows/readiness.h"

#include <io.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

namespace kvn::system
{
namespace
{

constexpr std::size_t BLOCK = std::size_t{64} << 10;
constexpr wchar_t END_OF_INPUT = L'\x1A'; ///< Ctrl-Z

bool is_console(HANDLE handle)
{
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != FALSE;
}

} // namespace

/// The thread fills the block, and waits until it was read.
struct Incoming::State {
    explicit State(int descriptor)
        : source{reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor))}, from_console{is_console(source)}
    {
    }

    void run()
    {
        for (;;) {
            const std::optional<std::size_t> size = from_console ? read_console() : read_file();
            std::unique_lock lock{windows::board().mutex};
            first = 0;
            last = size.value_or(0);
            error = size ? 0 : windows::last_error_number();
            is_over = last == 0;
            readiness.is_ready = true;
            windows::board().changed.notify_all();
            windows::board().changed.wait(lock, [this] { return is_ending || (!is_over && first == last); });
            if (is_ending || is_over)
                return;
        }
    }

    /// @return 0 at the end; null on an error
    std::optional<std::size_t> read_file()
    {
        DWORD size = 0;
        while (!is_ending &&
               ::ReadFile(source, block.data(), static_cast<DWORD>(block.size()), &size, nullptr) != FALSE)
            if (size != 0 || ::GetFileType(source) != FILE_TYPE_PIPE)
                return size;
        // A writer that has gone is the end of a pipe.
        const DWORD problem = ::GetLastError();
        return problem == ERROR_BROKEN_PIPE || problem == ERROR_HANDLE_EOF ? std::optional<std::size_t>{0}
                                                                           : std::nullopt;
    }

    /// Consoles give other characters than ASCII only as UTF-16.
    std::optional<std::size_t> read_console()
    {
        std::array<wchar_t, BLOCK / 4> text; // NOLINT(cppcoreguidelines-pro-type-member-init)
        DWORD size = 0;
        if (::ReadConsoleW(source, text.data(), static_cast<DWORD>(text.size()), &size, nullptr) == FALSE)
            return std::nullopt;
        // Ctrl-C gives nothing, and is answered by the handler of signals.
        if (size == 0 && ::GetLastError() == ERROR_OPERATION_ABORTED)
            return read_console();
        std::wstring_view line{text.data(), size};
        line = line.substr(0, line.find(END_OF_INPUT));
        std::string bytes = narrow(line);
        if (bytes.ends_with("\r\n"))
            bytes.replace(bytes.size() - 2, 2, "\n");
        std::ranges::copy(bytes, block.begin());
        return bytes.size();
    }

    HANDLE source;
    bool from_console;
    std::array<char, BLOCK> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    windows::Readiness readiness;
    std::size_t first = 0;
    std::size_t last = 0;
    int error = 0;
    bool is_over = false;
    std::atomic<bool> is_ending = false;
    windows::Handle thread_handle; ///< of the thread, for what cancels its call
    std::thread thread;
};

Incoming::Incoming(int descriptor) : state_{new State{descriptor}}
{
    State& state = *state_;
    state.thread = std::thread{[&state] {
        HANDLE own = nullptr;
        (void)::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &own, 0,
                                FALSE, DUPLICATE_SAME_ACCESS);
        {
            const std::lock_guard lock{windows::board().mutex};
            state.thread_handle = windows::Handle{own};
            windows::board().changed.notify_all();
        }
        state.run();
    }};
    std::unique_lock lock{windows::board().mutex};
    windows::board().changed.wait(lock, [&state] { return state.thread_handle.is_open(); });
}

Incoming::~Incoming()
{
    {
        const std::lock_guard lock{windows::board().mutex};
        state_->is_ending = true;
        windows::board().changed.notify_all();
    }
    // The thread may be about to begin its call.
    constexpr DWORD AGAIN = 10;
    do
        (void)::CancelSynchronousIo(state_->thread_handle.get());
    while (::WaitForSingleObject(state_->thread_handle.get(), AGAIN) == WAIT_TIMEOUT);
    state_->thread.join();
}

std::optional<std::size_t> Incoming::read_some(std::span<char> to)
{
    State& state = *state_;
    std::unique_lock lock{windows::board().mutex};
    windows::board().changed.wait(lock, [&state] { return state.readiness.is_ready; });
    if (state.error != 0) {
        errno = state.error;
        return std::nullopt;
    }
    const std::size_t size = std::min(to.size(), state.last - state.first);
    std::memcpy(to.data(), state.block.data() + state.first, size);
    state.first += size;
    if (state.first == state.last && !state.is_over) {
        state.readiness.is_ready = false;
        windows::board().changed.notify_all();
    }
    return size;
}

void Incoming::discard() noexcept
{
    State& state = *state_;
    const std::lock_guard lock{windows::board().mutex};
    (void)::FlushConsoleInputBuffer(state.source);
    if (!state.readiness.is_ready || state.is_over || state.error != 0)
        return;
    state.first = state.last;
    state.readiness.is_ready = false;
    windows::board().changed.notify_all();
}

Waitable Incoming::waitable() const noexcept
{
    return state_->readiness.waitable();
}

} // namespace kvn::system
