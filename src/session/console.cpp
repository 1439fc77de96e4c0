// SPDX-License-Identifier: Apache-2.0
// All output and questions of the library: through the caller's functions, else standard output and input.
#include "kvnfpgai.h"
#include "support/console_stream.h"
#include "support/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>

namespace
{
constexpr std::size_t ANSWER_SIZE = 256;

/// Writes a question as a line and flushes it, so that it is seen before the answer is read.
void show_question(const char* text, const char* prompt_mark)
{
    std::fputs(text, stdout);
    std::fputc('\n', stdout);
    std::fputs(prompt_mark, stdout);
    std::fflush(stdout);
}

/// Reads a line without its newline; the rest of a line longer than size is dropped.
/// @return false at the end of input
bool read_line(char* line, std::size_t size)
{
    std::size_t length = 0;
    int c = std::getchar();
    if (c == EOF) {
        line[0] = '\0';
        return false;
    }
    for (; c != EOF && c != '\n'; c = std::getchar())
        if (length + 1 < size)
            line[length++] = static_cast<char>(c);
    line[length] = '\0';
    return true;
}
} // namespace

void kvn_fpga_imp::print(const char* format, ...)
{
    char text[1024];
    std::va_list values;
    va_start(values, format);
    std::va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(text, sizeof text, format, values);
    va_end(values);

    // Only texts that quote a BIT file's header get this long.
    std::unique_ptr<char[]> long_text;
    if (length >= static_cast<int>(sizeof text)) {
        const std::size_t size = static_cast<std::size_t>(length) + 1;
        long_text.reset(new (std::nothrow) char[size]);
        if (long_text)
            std::vsnprintf(long_text.get(), size, format, again);
    }
    va_end(again);
    xprint(long_text ? long_text.get() : text);
}

/// Built from the last digit backwards, at a tenth of the cost of formatting: a long run does this thousands
/// of times.
void kvn_fpga_imp::show_progress(std::int32_t percent)
{
    constexpr std::string_view label = "\r% Done: ";
    char text[32];
    char* start = std::end(text);
    *--start = '\0';
    const bool negative = percent < 0;
    auto rest = static_cast<std::uint32_t>(percent);
    if (negative)
        rest = 0U - rest;
    do
        *--start = static_cast<char>('0' + rest % 10);
    while ((rest /= 10) != 0);
    if (negative)
        *--start = '-';
    xprint(std::copy_backward(label.begin(), label.end(), start));
}

void kvn_fpga_imp::xprint(const char* text)
{
    if (user_print != nullptr) {
        user_print(const_cast<char*>(text)); // NOLINT: the text is in print's buffer
        return;
    }
    // Not as a format: a file name may hold a percent sign.
    std::fputs(text, stdout);
    // A terminal shows progress at once.
    if (is_console_stream(stdout))
        std::fflush(stdout);
}

int kvn_fpga_imp::xprompt(const char* text)
{
    if (user_prompt != nullptr) {
        char shown[ANSWER_SIZE];
        copy_text(shown, text);
        return user_prompt(shown, nullptr);
    }
    show_question(text, "");
    return std::getchar();
}

/// On the console, returns 0 at the end of input, else 1.
int kvn_fpga_imp::xaskstring(const char* prompt, char* answer)
{
    const std::size_t size = answer == board_type ? sizeof board_type : ANSWER_SIZE;
    if (user_askstring != nullptr) {
        char shown[ANSWER_SIZE];
        copy_text(shown, prompt);
        // The function may write 256 bytes whatever room the answer has; what it does not write stays.
        char given[ANSWER_SIZE] = {};
        std::strncpy(given, answer, size - 1);
        const int result = user_askstring(shown, given);
        given[size - 1] = '\0';
        std::memcpy(answer, given, std::strlen(given) + 1);
        return result;
    }
    show_question(prompt, "> ");
    return read_line(answer, size) ? 1 : 0;
}

signed char kvn_fpga_imp::xask_yn(const char* question)
{
    if (user_ask_yn != nullptr) {
        char shown[ANSWER_SIZE];
        copy_text(shown, question);
        // Required: only the low byte counts.
        return static_cast<signed char>(user_ask_yn(shown, nullptr));
    }
    char line[ANSWER_SIZE];
    show_question(question, "");
    read_line(line, sizeof line);
    return static_cast<signed char>(line[0]);
}

int kvn_fpga_imp::Pause()
{
    return xprompt("\n\nPress any key to continue . . .");
}
