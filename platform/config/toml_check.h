// SPDX-License-Identifier: Apache-2.0
// Finds in TOML texts what the parser must not be given.
#ifndef CONFIG_TOML_CHECK_H
#define CONFIG_TOML_CHECK_H

#include <cstddef>
#include <string_view>

namespace config
{

/// Finds a character beyond ASCII at a place where the parser asks whether it is a blank. Its answer is
/// undefined for many of them. No such place may hold one: they are outside quotes and comments, and behind a
/// backslash.
/// @return the line, counted from 1; 0 when there is none
[[nodiscard]] std::size_t line_beyond_ascii(std::string_view text);

} // namespace config

#endif
