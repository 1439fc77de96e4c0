// SPDX-License-Identifier: Apache-2.0
// Small files that are read whole.
#include "file/text_file.h"

#include "errors/failure.h"
#include "system/regular_file.h"

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

} // namespace

std::string read_text_file(const std::string& path, const TextFileKind& kind)
{
    auto file = system::RegularFile::to_read(path.c_str());
    if (!file.is_open())
        cannot_read(path, kind, file.problem());
    if (kind.owner)
        if (const auto fault = system::fault_of_ownership(file.descriptor(), *kind.owner))
            cannot_read(path, kind, *fault);
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
