// SPDX-License-Identifier: Apache-2.0
// Notes the text of every numbered error that a test provokes, with the test's name, so that one that none
// provokes can be told.
#include "support/seen_errors.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <string>

void (*error_format_listener)(const char* format) = nullptr;

namespace
{
std::string running_test()
{
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    return test == nullptr ? "" : std::string{test->test_suite_name()} + '.' + test->name();
}

void note_error_format(const char* format)
{
    if (std::strncmp(format, "Error 9", 7) != 0)
        return;
    if (error_format_listener != nullptr)
        error_format_listener(format);
    static const char* const file = std::getenv("KVN_SEEN_ERRORS");
    if (file == nullptr)
        return;
    static std::mutex mutex;
    static std::set<std::string> seen;
    const std::lock_guard lock{mutex};
    const std::string line = running_test() + '\t' + format + '\n';
    if (seen.insert(line).second)
        std::ofstream{file, std::ios::app} << line;
}
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker gives these names
extern "C" {
int __real_vsnprintf(char* text, std::size_t size, const char* format, std::va_list values);

// Where the library writes an error's text it calls this.
int __wrap_vsnprintf(char* text, std::size_t size, const char* format, std::va_list values)
{
    note_error_format(format);
    return __real_vsnprintf(text, size, format, values);
}

// With -D_FORTIFY_SOURCE this takes the place of the plain function.
int __wrap___vsnprintf_chk(char* text, std::size_t size, int /*flag*/, std::size_t /*room*/,
                           const char* format, std::va_list values)
{
    return __wrap_vsnprintf(text, size, format, values);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
