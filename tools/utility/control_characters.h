// SPDX-License-Identifier: Apache-2.0
// Control characters in texts that a terminal shows.
#ifndef KVN_TOOLS_UTILITY_CONTROL_CHARACTERS_H
#define KVN_TOOLS_UTILITY_CONTROL_CHARACTERS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace utility
{

/// The length of the UTF-8 character at the start of a text; 1 if there is none.
[[nodiscard]] inline std::size_t character_length(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = first >= 0xF0 && first <= 0xF4   ? 4
                               : first >= 0xE0 && first <= 0xEF ? 3
                               : first >= 0xC2 && first <= 0xDF ? 2
                                                                : 1;
    const auto follows = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; };
    return length <= text.size() && std::ranges::all_of(text.substr(1, length - 1), follows) ? length : 1;
}

/// Whether a terminal may obey a character: ASCII's control characters, and those from 0x80 to 0x9F, as
/// single bytes or in UTF-8.
[[nodiscard]] inline bool is_control(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character.front());
    if (character.size() == 1)
        return first < 0x20 || (first >= 0x7F && first <= 0x9F);
    return character.size() == 2 && first == 0xC2 && static_cast<unsigned char>(character[1]) <= 0x9F;
}

/// Passes a text on in parts, each byte of a control character as \x1B.
/// @param kept the control characters that stay as they are
/// @param sink called with a string_view for each part, in order
template <class Sink>
void escape_controls(std::string_view text, std::string_view kept, Sink sink)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::size_t plain = 0; // bytes at the front of text that stay
    while (plain < text.size()) {
        const std::size_t length = character_length(text.substr(plain));
        const std::string_view character = text.substr(plain, length);
        if (!is_control(character) || kept.find(character) != std::string_view::npos) {
            plain += length;
            continue;
        }
        sink(text.substr(0, plain));
        for (const char byte : character) {
            const auto value = static_cast<unsigned char>(byte);
            const std::array shown{'\\', 'x', digits[value >> 4U], digits[value & 0xFU]};
            sink(std::string_view{shown.data(), shown.size()});
        }
        text.remove_prefix(plain + length);
        plain = 0;
    }
    sink(text);
}

} // namespace utility

#endif
