// Output files that run out of room, and input files that hide their end.
#include "output_files.h"

#include "support/streams.h"

#include <cstdio>

namespace
{
thread_local SmallOutputFile* current = nullptr;
thread_local bool hides_end = false;
} // namespace

SmallOutputFile::SmallOutputFile(std::size_t bytes) : room{bytes}
{
    current = this;
}

SmallOutputFile::~SmallOutputFile()
{
    current = nullptr;
}

HiddenEnd::HiddenEnd()
{
    hides_end = true;
}

HiddenEnd::~HiddenEnd()
{
    hides_end = false;
}

extern "C" {
int __real_feof(FILE* stream);

int __wrap_feof(FILE* stream)
{
    return hides_end ? 0 : __real_feof(stream);
}

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
