// SPDX-License-Identifier: Apache-2.0
// The standard streams as a program finds them.
#ifndef KVN_TOOLS_UTILITY_STANDARD_STREAMS_H
#define KVN_TOOLS_UTILITY_STANDARD_STREAMS_H

#include <fcntl.h>
#include <unistd.h>

namespace utility
{

/// Opens closed standard streams. Otherwise the next file opened would become standard output, and the
/// program would print into it.
/// @param status that the process ends with when it cannot be done
inline void open_missing_streams(int status)
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) != descriptor)
            _exit(status);
}

} // namespace utility

#endif
