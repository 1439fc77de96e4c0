// SPDX-License-Identifier: Apache-2.0
// Bytes and texts as tests write them.
#include "support/bytes.h"

#include <sstream>
#include <stdexcept>

namespace
{
constexpr std::string_view digits = "0123456789ABCDEF";
}

Bytes bytes(std::string_view hex)
{
    Bytes result;
    unsigned value = 0;
    int count = 0;
    for (const char c : hex) {
        if (c == ' ')
            continue;
        const std::size_t digit = digits.find(c);
        if (digit == std::string_view::npos)
            throw std::invalid_argument{"bytes(): no hexadecimal digit"};
        value = (value << 4 | static_cast<unsigned>(digit)) & 0xFF;
        if (++count % 2 == 0)
            result.push_back(static_cast<std::uint8_t>(value));
    }
    return result;
}

std::string hex(const void* data, std::size_t size)
{
    const auto* first = static_cast<const std::uint8_t*>(data);
    std::string text;
    text.reserve(size * 3);
    for (std::size_t i = 0; i < size; ++i) {
        if (i > 0)
            text += ' ';
        text += digits[first[i] >> 4];
        text += digits[first[i] & 15];
    }
    return text;
}

std::string hex(const Bytes& data)
{
    return hex(data.data(), data.size());
}

std::string escaped(std::string_view text)
{
    std::string line;
    for (const char c : text) {
        if (c == '\n')
            line += "\\n";
        else if (c == '\r')
            line += "\\r";
        else if (c == '\t')
            line += "\\t";
        else if (c == '\\')
            line += "\\\\";
        else if (static_cast<unsigned char>(c) < 0x20)
            line += "\\x" + hex(&c, 1);
        else
            line += c;
    }
    return line;
}

std::vector<std::string> split(const std::string& text, char end)
{
    std::vector<std::string> parts;
    std::istringstream stream{text};
    for (std::string part; std::getline(stream, part, end);)
        parts.push_back(part);
    return parts;
}

Arguments::Arguments(std::initializer_list<std::string_view> arguments)
    : texts_{arguments.begin(), arguments.end()}
{
    point();
}

Arguments::Arguments(const std::vector<std::string>& arguments) : texts_{arguments}
{
    point();
}

void Arguments::point()
{
    for (std::string& text : texts_)
        pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
}
