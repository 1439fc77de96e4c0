// SPDX-License-Identifier: Apache-2.0
// The answers of an application's functions: texts of up to 255 characters, and any number for keys and for
// yes or no.
#include "sessions.h"
#include "target.h"

#include <cstring>

namespace
{
constexpr std::size_t MOST_QUESTIONS = 100;

Choices* answers = nullptr;
std::size_t questions = 0;

int next_number(char* text, void* /*unused*/)
{
    take_print(text);
    return static_cast<int>(answers->word());
}

/// After many questions all answers are good, so that the run ends.
int next_text(char* prompt, void* answer)
{
    constexpr std::size_t longest = 255;
    take_print(prompt);
    std::string text = answers->line();
    if (++questions > MOST_QUESTIONS || answers->empty())
        text = "good.rbt";
    auto* buffer = static_cast<char*>(answer);
    std::memset(buffer, 'x', longest + 1); // the function may write all of it
    buffer[text.copy(buffer, longest)] = '\0';
    return static_cast<int>(questions);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InWorkplace here;
    Choices input{data, size};
    answers = &input;
    questions = 0;

    WatchedPlatform platform;
    kvn_fpga object;
    object.kvn_fpga_set_userprint(take_print);
    object.kvn_fpga_set_userfie(next_number, 0);
    object.kvn_fpga_set_userfie(next_text, 1);
    object.kvn_fpga_set_userfie(next_number, 2);
    (void)run_line(object, platform, line_with_questions(input.byte()));
    return 0;
}
