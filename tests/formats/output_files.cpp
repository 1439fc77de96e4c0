// Output files that run out of room at a chosen byte.
#include "output_files.h"

#include "support/streams.h"

#include <cstdio>

namespace
{
thread_local SmallOutputFile* current = nullptr;
} // namespace

SmallOutputFile::SmallOutputFile(std::size_t bytes) : room{bytes}
{
    current = this;
}

SmallOutputFile::~SmallOutputFile()
{
    current = nullptr;
}

extern "C" {
FILE* __real_fopen(const char* name, const char* mode);

FILE* __wrap_fopen(const char* name, const char* mode)
{
    if (current == nullptr || mode[0] != 'w')
        return __real_fopen(name, mode);
    FILE* file = stream_with_room(current->room, current->taken);
    if (!current->gathers)
        std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}
}
