// SPDX-License-Identifier: Apache-2.0
// The subcommands of kvn.
#ifndef KVN_COMMANDS_H
#define KVN_COMMANDS_H

#include <CLI/CLI.hpp>

#include <functional>
#include <stdexcept>

namespace kvn
{

/// The statuses of kvn itself: the answer of check, and whether a command could do its work.
enum Status { YES = 0, NO = 1, UNKNOWN = 2 };

/// A command line that can be parsed, and asks for what there is not.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a subcommand does once the command line was read; its result is the exit status.
using Action = std::function<int()>;

/// Each adds its subcommand and options to the program.
Action add_info(CLI::App& program);
Action add_check(CLI::App& program);
Action add_explain(CLI::App& program);

} // namespace kvn

#endif
