// SPDX-License-Identifier: Apache-2.0
// Small files that are read whole.
#include "file/text_file.h"

#include "errors/failure.h"
#include "regular_file.h"

#include <sys/stat.h>

namespace kvn
{
namespace
{

[[noreturn]] void cannot_read(const std::string& path, const TextFileKind& kind, const std::string& why)
{
    throw FailureError{{.status = ExitStatus::file,
                        .what = path + ": the " + kind.what + " cannot be read: " + why,
                        .remedy = kind.remedy}};
}

std::string in_words(std::size_t bytes)
{
    return bytes == MEGABYTE ? "a megabyte" : std::to_string(bytes / MEGABYTE) + " megabytes";
}

/// Looks at the open file: its name may lead to another one by now.
void check_owner(const mwtrace::RegularFile& file, const std::string& path, const TextFileKind& kind)
{
    struct stat status {
    };
    if (::fstat(file.descriptor(), &status) != 0)
        cannot_read(path, kind, "its owner cannot be read");
    if (status.st_uid != *kind.owner)
        cannot_read(path, kind,
                    "it belongs to user " + std::to_string(status.st_uid) + ", not to user " +
                        std::to_string(*kind.owner));
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        cannot_read(path, kind, "others than its owner can write it");
}

} // namespace

std::string read_text_file(const std::string& path, const TextFileKind& kind)
{
    auto file = mwtrace::RegularFile::to_read(path.c_str());
    if (!file.is_open())
        cannot_read(path, kind, file.problem());
    if (kind.owner)
        check_owner(file, path, kind);
    constexpr std::size_t piece = std::size_t{64} << 10;
    std::string text;
    while (text.size() <= kind.largest) {
        const std::size_t size = text.size();
        text.resize(size + piece);
        const auto count = file.read(text.data() + size, piece);
        if (!count)
            cannot_read(path, kind, file.problem());
        text.resize(size + *count);
        if (*count == 0)
            return text;
    }
    cannot_read(path, kind, "it is larger than " + in_words(kind.largest));
}

} // namespace kvn
