// SPDX-License-Identifier: Apache-2.0
// Words of command lines, as the shells and programs of each system take them.
#ifndef KVN_SYSTEM_COMMAND_WORDS_H
#define KVN_SYSTEM_COMMAND_WORDS_H

#include <string>
#include <string_view>

namespace kvn::system
{

/// A word as a POSIX shell takes it, here or on another host: in quotes if need be.
[[nodiscard]] std::string shell_word(const std::string& word);

/// A word as the usual shell of this system takes it: what a user may copy into a command line.
[[nodiscard]] std::string command_word(const std::string& word);

/// Whether a backslash in a command line of this system says how the next character is meant. In names of
/// Windows' files backslashes are what they are, except in front of a quotation mark.
/// @param rest what follows the backslash
[[nodiscard]] bool is_escape(std::string_view rest) noexcept;

} // namespace kvn::system

#endif
