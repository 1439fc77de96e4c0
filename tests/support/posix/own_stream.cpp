// SPDX-License-Identifier: Apache-2.0
// Streams over something of our own: the C library has them.
#include "support/own_stream.h"

#include <stdio_ext.h>
#include <sys/types.h>

// The linker lets __real_f be the function f itself.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
FILE* __real_fopen(const char* name, const char* mode);
std::size_t __real_fread(void* data, std::size_t size, std::size_t items, FILE* stream);
char* __real_fgets(char* line, int size, FILE* stream);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t items, FILE* stream);
int __real_setvbuf(FILE* stream, char* buffer, int mode, std::size_t size);
long __real_ftell(FILE* stream);
int __real_fclose(FILE* stream);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace
{
ssize_t read_backing(void* backing, char* data, std::size_t size)
{
    return static_cast<StreamBacking*>(backing)->read(data, size);
}

ssize_t write_backing(void* backing, const char* data, std::size_t size)
{
    return static_cast<ssize_t>(static_cast<StreamBacking*>(backing)->write(data, size));
}

int seek_backing(void* backing, off64_t* position, int whence)
{
    *position = static_cast<StreamBacking*>(backing)->seek(*position, whence);
    return *position == -1 ? -1 : 0;
}

int close_backing(void* backing)
{
    const std::unique_ptr<StreamBacking> owned{static_cast<StreamBacking*>(backing)};
    return owned->close();
}
} // namespace

FILE* open_own_stream(std::unique_ptr<StreamBacking> backing, const char* mode)
{
    return fopencookie(backing.release(), mode, {read_backing, write_backing, seek_backing, close_backing});
}

void drop_buffer(FILE* stream)
{
    __fpurge(stream);
}

namespace c_library
{
FILE* open(const char* name, const char* mode)
{
    return __real_fopen(name, mode);
}

std::size_t read(void* data, std::size_t size, std::size_t items, FILE* stream)
{
    return __real_fread(data, size, items, stream);
}

char* line(char* line, int size, FILE* stream)
{
    return __real_fgets(line, size, stream);
}

std::size_t write(const void* data, std::size_t size, std::size_t items, FILE* stream)
{
    return __real_fwrite(data, size, items, stream);
}

int buffer(FILE* stream, char* buffer, int mode, std::size_t size)
{
    return __real_setvbuf(stream, buffer, mode, size);
}

long position(FILE* stream)
{
    return __real_ftell(stream);
}

int close(FILE* stream)
{
    return __real_fclose(stream);
}
} // namespace c_library
