// SPDX-License-Identifier: Apache-2.0
// Names and command lines as Windows takes them.
#include "support/windows/command_line.h"

#include <windows.h>

namespace
{
/// Between quotation marks. Backslashes in front of a mark are doubled, others stay as they are. The programs
/// under test have their own: an error there must not start them with the words that would hide it.
std::string quoted(std::string_view word)
{
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"')
            text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}
} // namespace

std::wstring wide(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(), size);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::wstring command_line(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty())
            line += ' ';
        line += quoted(word);
    }
    return wide(line);
}
