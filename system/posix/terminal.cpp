// SPDX-License-Identifier: Apache-2.0
#include "system/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace kvn::system
{

void set_up_standard_streams() noexcept {}

bool prepare_standard_streams() noexcept
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) != descriptor)
            return false;
    return true;
}

bool is_terminal(int descriptor) noexcept
{
    return isatty(descriptor) != 0;
}

std::optional<TerminalSize> terminal_size(int descriptor) noexcept
{
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return std::nullopt;
    return TerminalSize{.rows = size.ws_row, .columns = size.ws_col};
}

bool echoes_keys() noexcept
{
    termios settings{};
    return tcgetattr(STDIN_FILENO, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

bool echoes_interrupt_key() noexcept
{
    return echoes_keys();
}

bool are_output_and_error_one_text() noexcept
{
    struct stat output {
    };
    struct stat errors {
    };
    if (fstat(STDOUT_FILENO, &output) != 0 || fstat(STDERR_FILENO, &errors) != 0)
        return false;
    const bool same = output.st_dev == errors.st_dev && output.st_ino == errors.st_ino;
    return same || (isatty(STDERR_FILENO) != 0 && (isatty(STDOUT_FILENO) != 0 || S_ISFIFO(output.st_mode)));
}

bool is_writable(int descriptor) noexcept
{
    pollfd waiting{descriptor, POLLOUT, 0};
    return poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLOUT) != 0;
}

std::optional<std::size_t> write_some(int descriptor, std::string_view bytes) noexcept
{
    ssize_t written = 0;
    do
        written = ::write(descriptor, bytes.data(), bytes.size());
    while (written < 0 && errno == EINTR);
    return written < 0 ? std::nullopt : std::optional{static_cast<std::size_t>(written)};
}

} // namespace kvn::system
