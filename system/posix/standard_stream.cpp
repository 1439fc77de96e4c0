// SPDX-License-Identifier: Apache-2.0
#include "system/standard_stream.h"

#include <sys/types.h>

#include <cstdio>

namespace kvn::system
{
namespace
{

void* given_context = nullptr;
void (*given_take)(void*, std::string_view) = nullptr;

ssize_t take_text(void* /*cookie*/, const char* text, std::size_t size)
{
    given_take(given_context, {text, size});
    return static_cast<ssize_t>(size);
}

} // namespace

bool replace_stdout(void* context, void (*take)(void* context, std::string_view text)) noexcept
{
    FILE* const stream = fopencookie(nullptr, "w", {nullptr, &take_text, nullptr, nullptr});
    if (stream == nullptr)
        return false;
    given_context = context;
    given_take = take;
    stdout = stream;
    return true;
}

} // namespace kvn::system
