// SPDX-License-Identifier: Apache-2.0
// The subcommands of kvn.
#ifndef KVN_COMMANDS_H
#define KVN_COMMANDS_H

#include <CLI/CLI.hpp>

#include <functional>

namespace kvn
{

enum ExitStatus { YES = 0, NO = 1, UNKNOWN = 2 };

/// What a subcommand does once the command line was read; its result is the exit status.
using Action = std::function<int()>;

/// Each adds its subcommand and options to the program.
Action add_info(CLI::App& program);
Action add_check(CLI::App& program);

} // namespace kvn

#endif
