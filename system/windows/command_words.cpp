// SPDX-License-Identifier: Apache-2.0
#include "system/command_words.h"

#include "system/windows/quotes.h"

namespace kvn::system
{

std::string command_word(const std::string& word)
{
    const bool has_meaning = word.empty() || word.find_first_of(" \t\n'\"&|<>^;,=()") != std::string::npos;
    return has_meaning ? windows::in_quotes(word) : word;
}

bool is_escape(std::string_view rest) noexcept
{
    const std::size_t end = rest.find_first_not_of('\\');
    return end != std::string_view::npos && rest[end] == '"';
}

} // namespace kvn::system
