// SPDX-License-Identifier: Apache-2.0
// What Linux knows of the memory of a process that has used the platform that only counts.
#include "counting_platform.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace
{
/// At the end of the process: what the kernel knows of its memory, into the file that the environment names.
/// It uses no streams, which would need memory of their own.
class MemoryNote
{
public:
    MemoryNote() = default;
    MemoryNote(const MemoryNote&) = delete;
    MemoryNote& operator=(const MemoryNote&) = delete;
    ~MemoryNote()
    {
        const char* name = std::getenv(COUNTING_MEMORY); // NOLINT(concurrency-mt-unsafe)
        if (name == nullptr)
            return;
        const int from = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
        const int to = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        char status[4096];
        if (const ssize_t size = read(from, status, sizeof status); size > 0)
            (void)!write(to, status, static_cast<std::size_t>(size));
        (void)close(to);
        (void)close(from);
    }
};

const MemoryNote memory_note;
} // namespace
