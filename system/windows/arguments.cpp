// SPDX-License-Identifier: Apache-2.0
// main() gets the words in the code page of the process, and after patterns of names were replaced.
#include "system/arguments.h"

#include "system/windows/wide.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

namespace kvn::system
{

Arguments::Arguments(int argc, char** argv)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> given{
        ::CommandLineToArgvW(::GetCommandLineW(), &count), &::LocalFree};
    if (given == nullptr)
        texts_.assign(argv, argv + argc);
    for (int i = 0; given != nullptr && i < count; ++i)
        texts_.push_back(narrow(given.get()[i]));
    for (std::string& text : texts_)
        words_.push_back(text.data());
    words_.push_back(nullptr);
}

} // namespace kvn::system
