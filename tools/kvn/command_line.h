// SPDX-License-Identifier: Apache-2.0
// What the commands of kvn share in reading the command line.
#ifndef KVN_TOOLS_KVN_COMMAND_LINE_H
#define KVN_TOOLS_KVN_COMMAND_LINE_H

#include "commands.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

using Adder = Action (*)(CLI::App&);

/// All commands, in the order of the help.
[[nodiscard]] std::span<const Adder> subcommands();

/// Whether JSON is wanted, as far as a command line tells that may be wrong.
[[nodiscard]] bool asks_for_json(int argc, char** argv);

/// @throws UsageError when the first word is no command, with the nearest one
void require_known_command(const CLI::App& program, int argc, char** argv);

/// What is wrong with a command line; for an unknown option with the nearest one.
[[nodiscard]] std::string usage_problem(const CLI::App& program, const CLI::ParseError& error);

} // namespace kvn

#endif
