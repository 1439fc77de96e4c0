// SPDX-License-Identifier: Apache-2.0
#include "system/windows/quotes.h"

namespace kvn::system::windows
{

std::string in_quotes(std::string_view word)
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

} // namespace kvn::system::windows
