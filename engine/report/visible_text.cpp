// SPDX-License-Identifier: Apache-2.0
// Texts from outside as they may stand in HTML and XML.
#include "report/visible_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace kvn
{
namespace
{

/// A character and the bytes that it takes. 0 bytes: what stands there is no UTF-8.
struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;
};

/// How a first byte of UTF-8 begins a character.
struct LeadByte {
    std::size_t bytes;
    std::uint32_t bits;
    std::uint32_t smallest; ///< that takes so many bytes
};

LeadByte lead_byte(unsigned char byte)
{
    if (byte < 0x80)
        return {1, byte, 0};
    if (byte >= 0xC0 && byte < 0xE0)
        return {2, byte & 0x1FU, 0x80};
    if (byte >= 0xE0 && byte < 0xF0)
        return {3, byte & 0x0FU, 0x800};
    if (byte >= 0xF0 && byte < 0xF8)
        return {4, byte & 0x07U, 0x10000};
    return {0, 0, 0};
}

bool is_character(std::uint32_t code)
{
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

Character first_character(std::string_view text)
{
    const LeadByte lead = lead_byte(static_cast<unsigned char>(text.front()));
    if (lead.bytes == 0 || lead.bytes > text.size())
        return {};
    std::uint32_t code = lead.bits;
    for (const char next : text.substr(1, lead.bytes - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80)
            return {};
        code = code << 6U | (byte & 0x3FU);
    }
    if (code < lead.smallest || !is_character(code))
        return {};
    return {code, lead.bytes};
}

bool is_control(std::uint32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// Marks of direction, separators of lines and paragraphs, invisible operators, the byte order mark, and
/// codes that are no characters.
bool is_hidden(std::uint32_t code)
{
    constexpr std::array<std::array<std::uint32_t, 2>, 7> ranges{{{0x00AD, 0x00AD},
                                                                  {0x061C, 0x061C},
                                                                  {0x200B, 0x200F},
                                                                  {0x2028, 0x202E},
                                                                  {0x2060, 0x206F},
                                                                  {0xFDD0, 0xFDEF},
                                                                  {0xFEFF, 0xFEFF}}};
    return (code & 0xFFFEU) == 0xFFFE || (code >= 0xE0000 && code <= 0xE0FFF) ||
           std::ranges::any_of(ranges,
                               [code](const auto& range) { return code >= range[0] && code <= range[1]; });
}

void append_escape(std::string& out, const char* form, std::uint32_t code)
{
    std::array<char, 16> escape{};
    (void)std::snprintf(escape.data(), escape.size(), form, static_cast<unsigned>(code));
    out += escape.data();
}

bool is_plain(char c)
{
    return c >= 0x20 && c < 0x7F;
}

const char* entity_of(char c)
{
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return nullptr;
    }
}

} // namespace

std::string visible_text(std::string_view text)
{
    if (std::ranges::all_of(text, is_plain))
        return std::string{text};
    std::string visible;
    while (!text.empty()) {
        const Character next = first_character(text);
        if (next.bytes == 0)
            append_escape(visible, "\\x%02X", static_cast<unsigned char>(text.front()));
        else if (is_control(next.code))
            append_escape(visible, "\\x%02X", next.code);
        else if (is_hidden(next.code))
            append_escape(visible, "\\u{%04X}", next.code);
        else
            visible += text.substr(0, next.bytes);
        text.remove_prefix(std::max<std::size_t>(next.bytes, 1));
    }
    return visible;
}

std::string markup_text(std::string_view text)
{
    std::string markup;
    for (const char c : visible_text(text)) {
        if (const char* entity = entity_of(c))
            markup += entity;
        else
            markup += c;
    }
    return markup;
}

} // namespace kvn
