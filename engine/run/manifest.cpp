// SPDX-License-Identifier: Apache-2.0
// The list of approved files, in the format of sha256sum.
#include "run/manifest.h"

#include "errors/failure.h"
#include "hashing/sha256.h"
#include "system/path_text.h"

#include <algorithm>
#include <span>

namespace kvn
{
namespace
{

constexpr std::size_t DIGEST_LENGTH = 64;
constexpr std::size_t NAME_BEGIN = DIGEST_LENGTH + 2;
constexpr const char* EXPECTED = "expected is a line as sha256sum writes it: 64 digits 0 to 9 and a to f, a "
                                 "blank, a blank or *, and a name";

[[noreturn]] void wrong(const std::string& file, std::size_t line, const std::string& what)
{
    const std::string place = line == 0 ? file : file + ":" + std::to_string(line);
    throw FailureError{{.status = ExitStatus::usage,
                        .what = place + ": " + what,
                        .why = EXPECTED,
                        .remedy = "write the manifest by sha256sum, and sign what it has written"}};
}

bool is_hexadecimal(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

char lower(char c)
{
    return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
}

struct Entry {
    std::string digest;
    std::string name;
};

/// Reads the lines one after the other.
class LineReader
{
public:
    explicit LineReader(const std::string& file) : file_{file} {}

    Entry read(std::string_view line)
    {
        ++line_;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        const bool is_escaped = line.starts_with('\\');
        if (is_escaped)
            line.remove_prefix(1);
        check_shape(line);
        Entry entry{std::string{line.substr(0, DIGEST_LENGTH)}, std::string{line.substr(NAME_BEGIN)}};
        std::ranges::transform(entry.digest, entry.digest.begin(), &lower);
        if (is_escaped)
            entry.name = unescaped(entry.name);
        return entry;
    }

private:
    void check_shape(std::string_view line) const
    {
        if (line.empty())
            wrong(file_, line_, "the line is empty");
        if (line.starts_with('#'))
            wrong(file_, line_, "the line is a comment, which manifests do not have");
        const auto end =
            static_cast<std::size_t>(std::ranges::find_if_not(line, &is_hexadecimal) - line.begin());
        if (end != DIGEST_LENGTH)
            wrong(file_, line_,
                  "the line begins with " + std::to_string(end) + " hexadecimal digits in place of 64");
        const std::string_view rest = line.substr(DIGEST_LENGTH);
        if (!rest.starts_with("  ") && !rest.starts_with(" *"))
            wrong(file_, line_, "no two blanks, and no blank and *, follow the digest");
        if (line.size() == NAME_BEGIN)
            wrong(file_, line_, "the line names no file");
        if (line.find('\0') != std::string_view::npos)
            wrong(file_, line_, "the line holds a zero byte");
    }

    [[nodiscard]] std::string unescaped(std::string_view name) const
    {
        std::string plain;
        while (!name.empty()) {
            const std::size_t end = std::min(name.find('\\'), name.size());
            plain += name.substr(0, end);
            name.remove_prefix(end);
            if (name.empty())
                break;
            constexpr std::string_view letters = "\\nr";
            constexpr std::string_view meanings = "\\\n\r";
            const std::size_t meaning = name.size() < 2 ? std::string_view::npos : letters.find(name[1]);
            if (meaning == std::string_view::npos)
                wrong(file_, line_, "a backslash in an escaped name is followed by none of \\, n and r");
            plain += meanings[meaning];
            name.remove_prefix(2);
        }
        return plain;
    }

    const std::string& file_;
    std::size_t line_ = 0;
};

std::string digest_of_text(std::string_view text)
{
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    return sum.finish();
}

} // namespace

Manifest Manifest::parse(std::string_view text, const std::string& file)
{
    Manifest manifest;
    manifest.file_ = file;
    manifest.sha256_ = digest_of_text(text);
    LineReader lines{file};
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        Entry entry = lines.read(line);
        manifest.digests_.emplace(system::last_component(entry.name), entry.digest);
        manifest.names_.emplace(std::move(entry.digest), std::move(entry.name));
    }
    if (manifest.names_.empty())
        wrong(file, 0, "the manifest approves no file: it is empty");
    return manifest;
}

const std::string* Manifest::digest_for(const std::string& file) const
{
    const auto found = digests_.find(system::last_component(file));
    return found == digests_.end() ? nullptr : &found->second;
}

} // namespace kvn
