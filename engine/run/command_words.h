// SPDX-License-Identifier: Apache-2.0
// The words of a command line.
#ifndef KVN_ENGINE_RUN_COMMAND_WORDS_H
#define KVN_ENGINE_RUN_COMMAND_WORDS_H

#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// The words of a line, as a shell splits it: at blanks, but for quotes of both kinds and backslashes. On
/// Windows backslashes are those of a file's name, except in front of a quotation mark, where they count as
/// in all command lines there. Nothing is expanded, and nothing but quotes and backslashes has a meaning of
/// its own.
/// @throws FailureError (ExitStatus::usage) for a quote or a backslash without what must follow it
[[nodiscard]] std::vector<std::string> split_words(std::string_view line);

} // namespace kvn

#endif
