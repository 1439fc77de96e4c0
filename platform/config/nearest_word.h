// SPDX-License-Identifier: Apache-2.0
// Finds what was probably meant by a word that is not known.
#ifndef CONFIG_NEAREST_WORD_H
#define CONFIG_NEAREST_WORD_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace config
{

using Words = std::vector<std::string_view>;

/// "word"
[[nodiscard]] std::string quoted(std::string_view text);

/// The fewest insertions, deletions and replacements of characters that make one word of the other.
[[nodiscard]] std::size_t edit_distance(std::string_view from, std::string_view to);

/// The known word that takes the fewest changes; empty when none is near. Of a long word the beginning
/// counts.
[[nodiscard]] std::string_view nearest_word(std::string_view word, const Words& known);

/// "; did you mean "..."?" if a known word is near, otherwise the list of all.
[[nodiscard]] std::string suggestion(std::string_view word, const Words& known);

} // namespace config

#endif
