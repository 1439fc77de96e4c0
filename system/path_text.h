// SPDX-License-Identifier: Apache-2.0
// Names of files are UTF-8 in this project. A path made from a plain text, or turned into one, depends on the
// system.
#ifndef KVN_SYSTEM_PATH_TEXT_H
#define KVN_SYSTEM_PATH_TEXT_H

#include <filesystem>
#include <string>
#include <string_view>

namespace kvn::system
{

/// @throws std::filesystem::filesystem_error when the text is no UTF-8 and the system's names are UTF-16
[[nodiscard]] inline std::filesystem::path path_of(std::string_view text)
{
    return {std::u8string{text.begin(), text.end()}};
}

[[nodiscard]] inline std::string text_of(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/// With slashes, which every system takes, in place of backslashes that separate names.
[[nodiscard]] inline std::string text_with_slashes_of(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

/// The last component of a path: what is the same wherever the file lies. On Windows paths are divided by
/// backslashes, too.
[[nodiscard]] inline std::string last_component(std::string_view path)
{
    constexpr bool HAS_BACKSLASHES = std::filesystem::path::preferred_separator == '\\';
    return std::string{path.substr(path.find_last_of(HAS_BACKSLASHES ? "/\\" : "/") + 1)};
}

} // namespace kvn::system

#endif
