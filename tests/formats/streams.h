// SPDX-License-Identifier: Apache-2.0
// Owned streams for tests of the formats: over given bytes, with an error after them, and into a text.
#ifndef KVN_FPGA_TESTS_FORMATS_STREAMS_H
#define KVN_FPGA_TESTS_FORMATS_STREAMS_H

#include "support/faults.h"
#include "support/owned.h"

#include <cstdint>
#include <string>
#include <string_view>

/// A stream of the given bytes.
inline File stream_of(std::string_view bytes)
{
    return File{stream_failing_at(std::string{bytes}, SIZE_MAX)};
}

/// A stream with an error after the given bytes, which can be read.
inline File stream_with_error_behind(std::string_view bytes)
{
    return File{stream_failing_at(std::string{bytes} + "unreadable", bytes.size())};
}

/// A stream that passes on every write at once, and has room for the given number of bytes.
inline File unbuffered_stream_into(std::string& taken, std::size_t room = SIZE_MAX)
{
    File file{stream_with_room(room, taken)};
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

#endif
