// SPDX-License-Identifier: Apache-2.0
#include "system/windows/wide.h"

#include <windows.h>

namespace kvn::system
{

std::wstring wide(std::string_view text)
{
    const auto length = static_cast<int>(text.size());
    std::wstring made(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), L'\0');
    (void)MultiByteToWideChar(CP_UTF8, 0, text.data(), length, made.data(), static_cast<int>(made.size()));
    return made;
}

std::string narrow(std::wstring_view text)
{
    const auto length = static_cast<int>(text.size());
    std::string made(static_cast<std::size_t>(
                         WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)),
                     '\0');
    (void)WideCharToMultiByte(CP_UTF8, 0, text.data(), length, made.data(), static_cast<int>(made.size()),
                              nullptr, nullptr);
    return made;
}

} // namespace kvn::system
