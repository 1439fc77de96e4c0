// SPDX-License-Identifier: Apache-2.0
// The texts that results point to.
#include "texts.h"

#include <algorithm>

namespace kvn::c_interface
{
namespace
{

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

unsigned char byte_at(std::string_view text, std::size_t place)
{
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
}

/// Which second bytes a character with this first byte may have: the others are too long forms, surrogates,
/// or beyond the last character.
struct SecondByte {
    unsigned char least = 0x80;
    unsigned char most = 0xBF;
};

SecondByte second_byte(unsigned char first)
{
    switch (first) {
    case 0xE0:
        return {.least = 0xA0};
    case 0xED:
        return {.most = 0x9F};
    case 0xF0:
        return {.least = 0x90};
    case 0xF4:
        return {.most = 0x8F};
    default:
        return {};
    }
}

/// Bytes of a character, by its first one; 0 if no character begins with it.
std::size_t size_by_first_byte(unsigned char first)
{
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Bytes of the character with which the text begins; 0 if it begins with none.
std::size_t character_size(std::string_view text)
{
    const std::size_t size = size_by_first_byte(byte_at(text, 0));
    if (size < 2)
        return size;
    const auto [least, most] = second_byte(byte_at(text, 0));
    if (byte_at(text, 1) < least || byte_at(text, 1) > most)
        return 0;
    for (std::size_t i = 2; i < size; ++i)
        if (byte_at(text, i) < 0x80 || byte_at(text, i) > 0xBF)
            return 0;
    return size;
}

} // namespace

std::string utf8(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t size = character_size(text);
        result += size == 0 ? REPLACEMENT : text.substr(0, size);
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return result;
}

} // namespace kvn::c_interface
