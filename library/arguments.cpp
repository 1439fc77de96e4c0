// SPDX-License-Identifier: Apache-2.0
// Arguments and structures of callers: all are checked before they are used.
#include "arguments.h"

#include "errors/failure.h"

#include <utility>

namespace kvn::c_interface
{
namespace
{

/// The size that a structure states, which is its first member.
std::size_t stated_size(const void* structure)
{
    std::size_t size = 0;
    std::memcpy(&size, structure, sizeof size);
    return size;
}

} // namespace

void refuse(std::string what, std::string why, std::string remedy)
{
    throw FailureError{{.status = ExitStatus::usage,
                        .what = std::move(what),
                        .why = std::move(why),
                        .remedy = std::move(remedy)}};
}

void require_pointer(const void* pointer, const char* name)
{
    if (pointer == nullptr)
        refuse(std::string{name} + " is null", "", "pass a pointer");
}

std::string text_argument(const char* text, const char* name)
{
    require_pointer(text, name);
    const std::size_t size = strnlen(text, KVN_LONGEST_TEXT + 1);
    if (size > KVN_LONGEST_TEXT)
        refuse(std::string{name} + " is longer than " + std::to_string(KVN_LONGEST_TEXT) + " bytes",
               "the text is too long, or does not end with a zero", "pass a shorter text");
    return {text, size};
}

std::string optional_text_argument(const char* text, const char* name)
{
    return text == nullptr ? std::string{} : text_argument(text, name);
}

std::optional<std::string> text_if_any(const char* text, const char* name)
{
    std::string value = optional_text_argument(text, name);
    return value.empty() ? std::nullopt : std::optional{std::move(value)};
}

int choice_argument(int value, int most, const char* name)
{
    if (value < 0 || value > most)
        refuse(std::string{name} + " is " + std::to_string(value), "",
               "pass one of the numbers 0 to " + std::to_string(most) + " that kvn.h gives names to");
    return value;
}

bool flag_argument(int value, const char* name)
{
    return choice_argument(value, 1, name) == 1;
}

void require_structure(const void* structure, std::size_t first, const char* name)
{
    require_pointer(structure, name);
    const std::size_t size = stated_size(structure);
    if (size < first || size > KVN_LARGEST_STRUCTURE)
        refuse("the size in " + std::string{name} + " is " + std::to_string(size),
               "a structure begins with its size, of at least " + std::to_string(first) + " bytes",
               "set size to sizeof(" + std::string{name} + ") before the call");
}

void require_zero_behind(const void* structure, std::size_t known, const char* name)
{
    const auto* const bytes = static_cast<const unsigned char*>(structure);
    for (std::size_t i = known; i < stated_size(structure); ++i)
        if (bytes[i] != 0)
            refuse(std::string{name} + " has options that this library does not know",
                   "the program was built with a newer kvn.h",
                   "install the newer library, or leave them zero");
}

} // namespace kvn::c_interface
