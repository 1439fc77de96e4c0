// SPDX-License-Identifier: Apache-2.0
// Words of a shell's command line: as they are written, and as they are meant.
#ifndef KVN_ENGINE_RUN_COMMAND_WORDS_H
#define KVN_ENGINE_RUN_COMMAND_WORDS_H

#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

/// A word as a POSIX shell takes it: in quotes if need be.
[[nodiscard]] std::string shell_word(const std::string& word);

/// A word as the usual shell of this system takes it: what a user may copy into a command line.
[[nodiscard]] std::string command_word(const std::string& word);

/// The words of a line, as a shell splits it: at blanks, but for quotes of both kinds and backslashes. On
/// Windows backslashes are those of a file's name, except in front of a quotation mark, where they count as
/// in all command lines there. Nothing is expanded, and nothing but quotes and backslashes has a meaning of
/// its own.
/// @throws FailureError (ExitStatus::usage) for a quote or a backslash without what must follow it
[[nodiscard]] std::vector<std::string> split_words(std::string_view line);

} // namespace kvn

#endif
