// SPDX-License-Identifier: Apache-2.0
// Owned streams for tests of the formats: of given bytes, with an error behind them, and into a text.
#ifndef KVN_FPGA_TESTS_FORMATS_STREAMS_H
#define KVN_FPGA_TESTS_FORMATS_STREAMS_H

#include "support/faults.h"
#include "support/owned.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

/// A stream of the given bytes.
inline File stream_of(std::string_view bytes)
{
    return File{stream_failing_at(std::string{bytes}, SIZE_MAX)};
}

/// A stream that has an error where the bytes end. What is in front of it can be read.
inline File stream_with_error_behind(std::string_view bytes)
{
    return File{stream_failing_at(std::string{bytes} + "unreadable", bytes.size())};
}

/// A stream that hands every write over at once, and has room for so many bytes.
inline File unbuffered_stream_into(std::string& taken, std::size_t room = SIZE_MAX)
{
    File file{stream_with_room(room, taken)};
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

#endif
