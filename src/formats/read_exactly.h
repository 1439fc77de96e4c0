// SPDX-License-Identifier: Apache-2.0
// Reads a field of a binary header.
#ifndef KVN_FPGA_FORMATS_READ_EXACTLY_H
#define KVN_FPGA_FORMATS_READ_EXACTLY_H

#include <cstddef>
#include <cstdio>

/// @return false when the stream has an error, or ended before the last byte
inline bool read_exactly(FILE* stream, void* bytes, std::size_t size)
{
    const std::size_t got = std::fread(bytes, 1, size, stream);
    return got == size && std::ferror(stream) == 0 && std::feof(stream) == 0;
}

#endif
