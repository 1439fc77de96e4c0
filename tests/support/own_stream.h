// SPDX-License-Identifier: Apache-2.0
// Streams of the C library over something of our own in place of a file.
//
// A program that links kvn_test_faults has its calls of some of the C library's functions wrapped; the
// functions below are those themselves, for streams of both kinds.
#ifndef KVN_FPGA_TESTS_SUPPORT_OWN_STREAM_H
#define KVN_FPGA_TESTS_SUPPORT_OWN_STREAM_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

/// What a stream asks of what is behind it. Each function sets errno when it fails.
class StreamBacking
{
public:
    StreamBacking() = default;
    virtual ~StreamBacking() = default;
    StreamBacking(const StreamBacking&) = delete;
    StreamBacking& operator=(const StreamBacking&) = delete;

    /// @return the bytes read, 0 at the end, -1 on an error
    virtual std::ptrdiff_t read(char* data, std::size_t size) = 0;
    /// @return the bytes written; fewer than the size are the sign of an error
    virtual std::size_t write(const char* data, std::size_t size) = 0;
    /// @return the new position, -1 on an error
    virtual std::int64_t seek(std::int64_t offset, int whence);
    /// Called once, before the object is destroyed. @return 0, or EOF on an error
    virtual int close() { return 0; }
};

/// @param mode "rb", "wb" or the like
FILE* open_own_stream(std::unique_ptr<StreamBacking> backing, const char* mode);
/// Forgets what the buffer of a stream of our own holds.
void drop_buffer(FILE* stream);

namespace c_library
{
FILE* open(const char* name, const char* mode);
std::size_t read(void* data, std::size_t size, std::size_t items, FILE* stream);
char* line(char* line, int size, FILE* stream);
std::size_t write(const void* data, std::size_t size, std::size_t items, FILE* stream);
int buffer(FILE* stream, char* buffer, int mode, std::size_t size);
long position(FILE* stream);
int close(FILE* stream);
} // namespace c_library

#endif
