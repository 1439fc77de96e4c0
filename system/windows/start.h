// SPDX-License-Identifier: Apache-2.0
// Starts a program that inherits three streams and nothing else.
#ifndef KVN_SYSTEM_WINDOWS_START_H
#define KVN_SYSTEM_WINDOWS_START_H

#include "system/windows/api.h"

#include <optional>
#include <string>
#include <vector>

namespace kvn::system::windows
{

struct Start {
    std::wstring program;                ///< path
    std::vector<std::string> words;      ///< its name and its arguments, in UTF-8
    std::vector<std::wstring> variables; ///< of its environment, "NAME=value"; empty: those of this process
    HANDLE input = nullptr;              ///< the streams can be inherited
    HANDLE output = nullptr;
    HANDLE errors = nullptr;
};

/// A program that runs, and everything that it starts.
struct Started {
    Handle process;
    Handle job;
    DWORD id = 0;
};

/// It has a console of its own that nobody sees: Ctrl-C and Ctrl-Break do not reach it.
/// @throws std::system_error
[[nodiscard]] Started start(const Start& what);

/// The words as programs of Windows take them apart.
[[nodiscard]] std::wstring command_line(const std::vector<std::string>& words);

/// Where a program is: what has a folder is taken as it is, anything else is searched in PATH; ".exe" is
/// added where it is missing. The current folder is not searched, and scripts are not programs.
/// @return null when there is none
[[nodiscard]] std::optional<std::wstring> path_of_program(const std::string& name);

} // namespace kvn::system::windows

#endif
