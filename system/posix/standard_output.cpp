// SPDX-License-Identifier: Apache-2.0
// Standard output as more than a stream of characters.
#include "system/standard_output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kvn::system
{

Descriptor take_standard_output()
{
    Descriptor taken{::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    if (!taken.is_open() || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw std::system_error{errno, std::generic_category(), "standard output"};
    return taken;
}

bool reader_has_gone() noexcept
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

} // namespace kvn::system
