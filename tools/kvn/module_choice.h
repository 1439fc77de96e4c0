// SPDX-License-Identifier: Apache-2.0
// Which boards and which module are meant, by the command line and the environment; never by a guess.
#ifndef KVN_TOOLS_KVN_MODULE_CHOICE_H
#define KVN_TOOLS_KVN_MODULE_CHOICE_H

#include "module/list.h"

#include <optional>
#include <string>

namespace kvn
{

/// The boards that a word names: "mwc4a:0", or "mwc4a" for all of that type. Without a word those that
/// MWAPIKSB, or else MWAPIJTAG, names; null when there are none.
/// @throws FailureError (ExitStatus::usage) for a word or a variable that names no board
[[nodiscard]] std::optional<ListRequest> chosen_boards(const std::string& word);

/// The only module on the boards of the environment.
/// @param command that a module is to be added to, as a hint prints it: "kvn load design.bit"
/// @throws FailureError when there is none, or several, or the environment names no board
[[nodiscard]] ModuleName only_module(const Provider& provider, const std::string& command,
                                     const std::string& options);

/// "KAVRIN-FPGA model 4 version 2, 2v3000fg676-4"
[[nodiscard]] std::string description(const ModuleIdentity& module);

} // namespace kvn

#endif
