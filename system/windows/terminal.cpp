// SPDX-License-Identifier: Apache-2.0
#include "system/terminal.h"

#include "system/file.h"
#include "system/windows/api.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>

namespace kvn::system
{
namespace
{

/// What a pipe of Windows or a console takes at once.
constexpr std::size_t MOST_BYTES = std::size_t{1} << 15;

HANDLE handle_of(int descriptor) noexcept
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

bool is_open(int descriptor) noexcept
{
    // The C run-time says -2 of a standard stream that leads nowhere.
    const auto handle = _get_osfhandle(descriptor);
    return handle != -1 && handle != -2;
}

/// A descriptor that is closed is opened, one that leads nowhere replaced.
bool open_nothing_as(int descriptor) noexcept
{
    const int opened = _open("NUL", _O_RDWR | _O_BINARY);
    if (opened == -1)
        return false;
    if (opened == descriptor)
        return true;
    const bool is_done = _dup2(opened, descriptor) == 0;
    (void)_close(opened);
    return is_done;
}

/// Whether two handles are of one opening of a file or pipe, as those are that shells make for "2>&1".
bool are_of_one_opening(HANDLE one, HANDLE other) noexcept
{
    // Of Windows 10; import libraries do not name the DLL that has it.
    using Compare = BOOL(WINAPI*)(HANDLE, HANDLE);
    HMODULE base = GetModuleHandleW(L"kernelbase.dll");
    const auto compare = base == nullptr ? nullptr
                                         : reinterpret_cast<Compare>(reinterpret_cast<void*>(
                                               GetProcAddress(base, "CompareObjectHandles")));
    return one == other || (compare != nullptr && compare(one, other) != FALSE);
}

void use_control_sequences(int descriptor) noexcept
{
    DWORD mode = 0;
    if (GetConsoleMode(handle_of(descriptor), &mode) != FALSE)
        (void)SetConsoleMode(handle_of(descriptor),
                             mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

} // namespace

void set_up_standard_streams() noexcept
{
    // A console ends what is typed with CR LF, of which only text mode makes a line feed.
    (void)_setmode(STANDARD_INPUT, is_terminal(STANDARD_INPUT) ? _O_TEXT : _O_BINARY);
    for (const int descriptor : {STANDARD_OUTPUT, STANDARD_ERROR})
        (void)_setmode(descriptor, _O_BINARY);
    (void)SetConsoleCP(CP_UTF8);
    (void)SetConsoleOutputCP(CP_UTF8);
    use_control_sequences(STANDARD_OUTPUT);
    use_control_sequences(STANDARD_ERROR);
}

bool prepare_standard_streams() noexcept
{
    for (int descriptor = STANDARD_INPUT; descriptor <= STANDARD_ERROR; ++descriptor)
        if (!is_open(descriptor) && !open_nothing_as(descriptor))
            return false;
    set_up_standard_streams();
    return true;
}

// The C run-time takes other devices for terminals, too.
bool is_terminal(int descriptor) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handle_of(descriptor), &mode) != FALSE;
}

std::optional<TerminalSize> terminal_size(int descriptor) noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO facts{};
    if (GetConsoleScreenBufferInfo(handle_of(descriptor), &facts) == FALSE)
        return std::nullopt;
    const SMALL_RECT& window = facts.srWindow;
    const int rows = window.Bottom - window.Top + 1;
    const int columns = window.Right - window.Left + 1;
    if (rows <= 0 || columns <= 0)
        return std::nullopt;
    return TerminalSize{.rows = static_cast<unsigned>(rows), .columns = static_cast<unsigned>(columns)};
}

bool echoes_keys() noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handle_of(STANDARD_INPUT), &mode) != FALSE && (mode & ENABLE_ECHO_INPUT) != 0;
}

// Consoles show no Ctrl-C.
bool echoes_interrupt_key() noexcept
{
    return false;
}

// Files have an identity; a pipe's end is opened once, and has several handles.
bool are_output_and_error_one_text() noexcept
{
    if (is_terminal(STANDARD_ERROR))
        return is_terminal(STANDARD_OUTPUT) || GetFileType(handle_of(STANDARD_OUTPUT)) == FILE_TYPE_PIPE;
    if (are_of_one_opening(handle_of(STANDARD_OUTPUT), handle_of(STANDARD_ERROR)))
        return true;
    const auto output = identity_of(STANDARD_OUTPUT);
    return output && output == identity_of(STANDARD_ERROR);
}

// Files and consoles always are. A pipe tells no reader's readiness, but how much room is left in it.
bool is_writable(int descriptor) noexcept
{
    const HANDLE handle = handle_of(descriptor);
    return handle != INVALID_HANDLE_VALUE && GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

std::optional<std::size_t> write_some(int descriptor, std::string_view bytes) noexcept
{
    const int written =
        _write(descriptor, bytes.data(), static_cast<unsigned>(std::min(bytes.size(), MOST_BYTES)));
    if (written >= 0)
        return static_cast<std::size_t>(written);
    // The C run-time has EINVAL for a pipe whose reader has gone.
    const DWORD problem = GetLastError();
    if (problem == ERROR_NO_DATA || problem == ERROR_BROKEN_PIPE)
        errno = EPIPE;
    return std::nullopt;
}

} // namespace kvn::system
