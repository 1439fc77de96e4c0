// SPDX-License-Identifier: Apache-2.0
// Encodes bytes and texts of any content in a trace's JSON, and decodes them.
#include "encoding.h"

#include <array>
#include <limits>

namespace mwtrace
{
namespace
{

constexpr std::size_t READABLE_BYTES = 32;
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";
constexpr std::string_view BASE64_DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t BYTES_A_GROUP = 3;
constexpr std::size_t DIGITS_A_GROUP = 4;

constexpr std::uint8_t NO_DIGIT = 0xFF;

constexpr std::array<std::uint8_t, 256> values_of(std::string_view digits)
{
    std::array<std::uint8_t, 256> values{};
    values.fill(NO_DIGIT);
    for (std::size_t i = 0; i < digits.size(); ++i)
        values[static_cast<std::uint8_t>(digits[i])] = static_cast<std::uint8_t>(i);
    return values;
}

std::uint8_t value_of(char digit, std::string_view digits)
{
    static constexpr auto hex_values = values_of(HEX_DIGITS);
    static constexpr auto base64_values = values_of(BASE64_DIGITS);
    const auto& values = digits.size() == HEX_DIGITS.size() ? hex_values : base64_values;
    return values[static_cast<std::uint8_t>(digit)];
}

std::string base64(std::span<const std::uint8_t> bytes)
{
    std::string text;
    text.reserve((bytes.size() + BYTES_A_GROUP - 1) / BYTES_A_GROUP * DIGITS_A_GROUP);
    for (std::size_t at = 0; at < bytes.size(); at += BYTES_A_GROUP) {
        const std::size_t count = std::min(BYTES_A_GROUP, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < BYTES_A_GROUP; ++i)
            group = group << 8 | (i < count ? bytes[at + i] : 0U);
        for (std::size_t i = 0; i < DIGITS_A_GROUP; ++i)
            text += i <= count ? BASE64_DIGITS[group >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

std::optional<Bytes> from_base64(std::string_view text)
{
    if (text.size() % DIGITS_A_GROUP != 0)
        return std::nullopt;
    Bytes bytes;
    bytes.reserve(text.size() / DIGITS_A_GROUP * BYTES_A_GROUP);
    for (std::size_t at = 0; at < text.size(); at += DIGITS_A_GROUP) {
        std::string_view digits = text.substr(at, DIGITS_A_GROUP);
        const bool is_last = at + DIGITS_A_GROUP == text.size();
        for (int padding = 0; is_last && padding < 2 && digits.back() == '='; ++padding)
            digits.remove_suffix(1);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < DIGITS_A_GROUP; ++i) {
            const std::uint8_t value = i < digits.size() ? value_of(digits[i], BASE64_DIGITS) : 0;
            if (value == NO_DIGIT)
                return std::nullopt;
            group = group << 6 | value;
        }
        for (std::size_t i = 0; i + 1 < digits.size(); ++i)
            bytes.push_back(static_cast<std::uint8_t>(group >> (16 - 8 * i)));
    }
    return bytes;
}

std::optional<Bytes> from_hex(std::string_view text)
{
    Bytes bytes;
    for (std::size_t at = 0; at < text.size(); at += 3) {
        if (at + 1 >= text.size() || (at + 2 < text.size() && text[at + 2] != ' '))
            return std::nullopt;
        const std::uint8_t high = value_of(text[at], HEX_DIGITS);
        const std::uint8_t low = value_of(text[at + 1], HEX_DIGITS);
        if (high == NO_DIGIT || low == NO_DIGIT)
            return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return bytes;
}

} // namespace

std::string hex(std::span<const std::uint8_t> bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty())
            text += ' ';
        text += HEX_DIGITS[byte >> 4];
        text += HEX_DIGITS[byte & 0xF];
    }
    return text;
}

Json bytes_to_json(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() <= READABLE_BYTES)
        return {{"hex", hex(bytes)}};
    return {{"base64", base64(bytes)}};
}

std::optional<Bytes> bytes_from_json(const Json& value)
{
    if (!value.is_object() || value.members()->size() != 1)
        return std::nullopt;
    const auto& [form, digits] = *value.members()->begin();
    if (digits.text() == nullptr)
        return std::nullopt;
    if (form == "hex")
        return from_hex(*digits.text());
    if (form == "base64")
        return from_base64(*digits.text());
    return std::nullopt;
}

Json text_to_json(std::string_view text)
{
    if (is_utf8(text))
        return text;
    return {{"hex", hex(std::span{reinterpret_cast<const std::uint8_t*>(text.data()), text.size()})}};
}

std::optional<std::string> text_from_json(const Json& value)
{
    if (value.text() != nullptr)
        return *value.text();
    const auto bytes = bytes_from_json(value);
    if (!bytes)
        return std::nullopt;
    return std::string{bytes->begin(), bytes->end()};
}

std::optional<std::uint32_t> number_from_json(const Json& value)
{
    if (value.number() == nullptr || *value.number() > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<std::uint32_t>(*value.number());
}

} // namespace mwtrace
