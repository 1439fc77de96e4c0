// SPDX-License-Identifier: Apache-2.0
// Bounded copies and conversions of texts from outside.
#ifndef KVN_FPGA_SUPPORT_TEXT_H
#define KVN_FPGA_SUPPORT_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Copies a text into a field, cut so that a terminating zero fits.
template <std::size_t Size>
void copy_text(char (&field)[Size], std::string_view text)
{
    const std::size_t length = text.copy(field, Size - 1);
    field[length] = '\0';
}

/// Copies a text followed by an extension.
/// @return false, with the field unchanged, if the result does not fit
template <std::size_t Size>
bool copy_with_extension(char (&field)[Size], std::string_view name, std::string_view extension)
{
    if (name.size() + extension.size() >= Size)
        return false;
    // name may be the field's own text
    const std::size_t length = name.copy(field, Size - 1);
    extension.copy(field + length, extension.size());
    field[length + extension.size()] = '\0';
    return true;
}

/// Returns the lower-case form of a character, independent of the locale.
constexpr char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The blanks that separate words.
constexpr bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

constexpr bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/// Returns the text from its first non-blank character on.
constexpr const char* skip_blanks(const char* text)
{
    while (is_blank(*text))
        ++text;
    return text;
}

/// Returns the first blank of a text, or its end.
constexpr const char* find_blank(const char* text)
{
    while (*text != '\0' && !is_blank(*text))
        ++text;
    return text;
}

/// Converts the leading decimal integer: white space, a sign and digits. Returns 0 without digits, and
/// saturates at 32 bits.
std::int32_t to_number(const char* text);

#endif
