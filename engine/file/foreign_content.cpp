// SPDX-License-Identifier: Apache-2.0
// Recognises files that are no bitstreams by how they begin.
#include "file/foreign_content.h"

#include <algorithm>

namespace kvn
{
namespace
{

using namespace std::string_view_literals;

struct Kind {
    Foreign content;
    std::string_view begins;
    const char* words;
    const char* remedy;
};

constexpr Kind kinds[] = {
    {Foreign::gzip, "\x1F\x8B"sv, "compressed by gzip", "unpack it (gunzip) and give what was in it"},
    {Foreign::xz,
     "\xFD"
     "7zXZ\0"sv,
     "compressed by xz", "unpack it (unxz) and give what was in it"},
    {Foreign::zstd, "\x28\xB5\x2F\xFD"sv, "compressed by zstd", "unpack it (unzstd) and give what was in it"},
    {Foreign::bzip2, "BZh"sv, "compressed by bzip2", "unpack it (bunzip2) and give what was in it"},
    {Foreign::zip, "PK\x03\x04"sv, "a zip archive", "unpack it (unzip) and give what was in it"},
    {Foreign::zeros, ""sv, "nothing but zero bytes", "make the file again: whatever wrote it did not finish"},
    {Foreign::text, ""sv, "text", "give a bitstream file"},
};

const Kind* kind_of(Foreign content)
{
    return std::ranges::find(kinds, content, &Kind::content);
}

bool is_text(char c)
{
    const auto code = static_cast<unsigned char>(c);
    return (code >= ' ' && code != 0x7F) || (code >= '\t' && code <= '\r');
}

} // namespace

Foreign recognise_foreign(std::string_view head)
{
    const auto* packed = std::ranges::find_if(
        kinds, [&](const Kind& kind) { return !kind.begins.empty() && head.starts_with(kind.begins); });
    if (packed != std::end(kinds))
        return packed->content;
    if (head.empty())
        return Foreign::none;
    if (std::ranges::all_of(head, [](char c) { return c == '\0'; }))
        return Foreign::zeros;
    return std::ranges::all_of(head, is_text) ? Foreign::text : Foreign::none;
}

const char* foreign_words(Foreign content)
{
    return kind_of(content)->words;
}

const char* foreign_remedy(Foreign content)
{
    return kind_of(content)->remedy;
}

} // namespace kvn
