// SPDX-License-Identifier: Apache-2.0
// Streams of the C library over something of our own: what both systems share.
#include "support/own_stream.h"

#include <cerrno>

std::int64_t StreamBacking::seek(std::int64_t /*offset*/, int /*whence*/)
{
    errno = ESPIPE;
    return -1;
}
