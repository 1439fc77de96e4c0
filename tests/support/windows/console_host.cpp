// SPDX-License-Identifier: Apache-2.0
// Runs a program on the console that this process was started with, and sends it the console's events.
//   console_host ORDERS console|none PROGRAM ARGUMENT...
// ORDERS is the handle of a pipe, each byte of which is the number of a signal. With "none" the program's
// streams lead nowhere, although it has the console. Ends with the program's exit status.
#include "support/process.h"
#include "support/windows/child.h"
#include "support/windows/command_line.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>

namespace
{
constexpr int NOT_FOUND = 127;

/// Sends the signals until the pipe is closed.
void obey(HANDLE orders, HANDLE child)
{
    char number = 0;
    DWORD size = 0;
    while (ReadFile(orders, &number, 1, &size, nullptr) != 0 && size == 1) {
        if (number == SIGINT)
            GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        else if (number == SIGBREAK)
            GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0);
        else
            TerminateProcess(child, static_cast<UINT>(128 + number));
    }
}

/// The environment as it is: who started this process has chosen what the program inherits.
std::map<std::string, std::string> own_variables()
{
    std::map<std::string, std::string> variables;
    wchar_t* const all = GetEnvironmentStringsW();
    for (const wchar_t* variable = all; *variable != L'\0'; variable += wcslen(variable) + 1) {
        const std::string text = std::filesystem::path{variable}.string();
        // Names that begin with the sign are the system's own.
        const std::size_t sign = text.find('=', 1);
        variables[text.substr(0, sign)] = text.substr(sign + 1);
    }
    FreeEnvironmentStringsW(all);
    return variables;
}

int run_on_console(int count, char** words)
{
    // The events reach this process too.
    SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    HANDLE orders = reinterpret_cast<HANDLE>(std::strtoull(words[1], nullptr, 10));
    SetHandleInformation(orders, HANDLE_FLAG_INHERIT, 0);
    const bool shows = std::string_view{words[2]} == "console";
    const Handle input = open_inherited(shows ? "CONIN$" : "NUL", GENERIC_READ | (shows ? GENERIC_WRITE : 0));
    const Handle output = open_inherited(shows ? "CONOUT$" : "NUL", GENERIC_READ | GENERIC_WRITE);
    // What is typed is not shown.
    SetConsoleMode(input.get(), ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT);
    const Streams streams{input.get(), output.get(), output.get()};
    const Handle child = start({words[3], {words + 4, words + count}, ".", own_variables()}, &streams);
    if (child == nullptr)
        return NOT_FOUND;
    std::thread{obey, orders, child.get()}.detach();
    return wait_for(child.get());
}
} // namespace

int main(int count, char** words)
{
    try {
        // Not by returning: the thread waits for orders to the end.
        ExitProcess(static_cast<UINT>(run_on_console(count, words)));
    } catch (const std::exception&) {
        return EXIT_FAILURE;
    }
}
