// SPDX-License-Identifier: Apache-2.0
#include "support/file_names.h"

#include <windows.h>

#include <memory>

namespace
{
struct Facts {
    BY_HANDLE_FILE_INFORMATION facts{};
    bool are_known = false;
};

/// The names are in the host's code page, as for fopen; std::filesystem would take them for another one.
HANDLE look_at(const char* name)
{
    return CreateFileA(name, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

Facts facts_of(HANDLE file)
{
    Facts made;
    made.are_known = GetFileInformationByHandle(file, &made.facts) != FALSE;
    return made;
}
} // namespace

// Both are open while they are compared: numbers of files are used again.
bool name_one_file(const char* a, const char* b) noexcept
{
    const auto closed = [](void* file) {
        if (file != INVALID_HANDLE_VALUE)
            (void)CloseHandle(file);
    };
    using Handle = std::unique_ptr<void, decltype(closed)>;
    const Handle first{look_at(a), closed};
    const Handle second{look_at(b), closed};
    const Facts one = facts_of(first.get());
    const Facts other = facts_of(second.get());
    return one.are_known && other.are_known &&
           one.facts.dwVolumeSerialNumber == other.facts.dwVolumeSerialNumber &&
           one.facts.nFileIndexHigh == other.facts.nFileIndexHigh &&
           one.facts.nFileIndexLow == other.facts.nFileIndexLow;
}
