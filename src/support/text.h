// Bounded copies and conversions of texts from outside.
#ifndef KVN_FPGA_SUPPORT_TEXT_H
#define KVN_FPGA_SUPPORT_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Copies a text into a field, cut to what the field holds with its terminating zero.
template <std::size_t Size>
void copy_text(char (&field)[Size], std::string_view text)
{
    const std::size_t length = text.copy(field, Size - 1);
    field[length] = '\0';
}

/// Copies a text with an extension behind it.
/// @return false, with the field untouched, when the whole does not fit
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

/// A character's lower-case form, in every locale the same.
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

/// The text from the first character on that is no blank.
constexpr const char* skip_blanks(const char* text)
{
    while (is_blank(*text))
        ++text;
    return text;
}

/// The first blank of a text, or its end.
constexpr const char* find_blank(const char* text)
{
    while (*text != '\0' && !is_blank(*text))
        ++text;
    return text;
}

/// Converts the leading decimal integer: white space, a sign and digits, up to the first other character. No
/// digits give 0, and what leaves 32 bits the nearest number of 32 bits.
std::int32_t to_number(const char* text);

#endif
