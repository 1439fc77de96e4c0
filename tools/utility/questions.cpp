// SPDX-License-Identifier: Apache-2.0
#include "questions.h"

#include "console.h"
#include "kvn_fpga.h"

#include <cstddef>
#include <cstdio>

namespace utility
{
namespace
{

constexpr std::size_t ANSWER_SIZE = 256;
constexpr int FOR_A_LINE = 1;

kvn_fpga* asking = nullptr;

/// Reads a line without its line feed; the rest of a longer one is dropped.
/// @return false at the end of input
bool read_line(char* line)
{
    std::size_t length = 0;
    int c = std::getchar();
    const bool is_any_there = c != EOF;
    for (; c != EOF && c != '\n'; c = std::getchar())
        if (length + 1 < ANSWER_SIZE)
            line[length++] = static_cast<char>(c);
    line[length] = '\0';
    return is_any_there;
}

int ask_for_line(char* prompt, void* answer)
{
    Output& output = console().output();
    output.ask(prompt);
    output.ask("\n> ");
    if (read_line(static_cast<char*>(answer)))
        return 1;
    // The library notices the end of input only where it asks by itself; it would ask for ever.
    (void)asking->kvn_fpga_set_userfie(nullptr, FOR_A_LINE);
    return 0;
}

} // namespace

void ask_here(kvn_fpga& fpga)
{
    asking = &fpga;
    (void)fpga.kvn_fpga_set_userfie(&ask_for_line, FOR_A_LINE);
}

} // namespace utility
