// SPDX-License-Identifier: Apache-2.0
#include "system/command_words.h"

#include <algorithm>
#include <cctype>

namespace kvn::system
{
namespace
{

bool is_plain(char c)
{
    constexpr std::string_view others = "_-./:,+@%=";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || others.find(c) != std::string_view::npos;
}

} // namespace

std::string shell_word(const std::string& word)
{
    if (!word.empty() && std::ranges::all_of(word, is_plain))
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string{"'\\''"} : std::string{c};
    return quoted + "'";
}

} // namespace kvn::system
