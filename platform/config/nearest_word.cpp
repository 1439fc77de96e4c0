// SPDX-License-Identifier: Apache-2.0
// Finds what was probably meant by a word that is not known.
#include "config/nearest_word.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace config
{
namespace
{

constexpr std::size_t LONGEST_WORD = 64;

std::string listed(const Words& words)
{
    std::string list;
    for (const std::string_view word : words)
        list += (list.empty() ? "" : ", ") + quoted(word);
    return list;
}

} // namespace

std::string quoted(std::string_view text)
{
    return '"' + std::string{text} + '"';
}

std::size_t edit_distance(std::string_view from, std::string_view to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string_view nearest_word(std::string_view word, const Words& known)
{
    constexpr std::size_t NEAR = 3;
    const std::string_view begin = word.substr(0, LONGEST_WORD);
    const auto nearest = std::ranges::min_element(
        known, {}, [&](std::string_view candidate) { return edit_distance(begin, candidate); });
    const bool is_near =
        nearest != known.end() && edit_distance(begin, *nearest) <= std::min(NEAR, nearest->size() / 2);
    return is_near ? *nearest : std::string_view{};
}

std::string suggestion(std::string_view word, const Words& known)
{
    const std::string_view nearest = nearest_word(word, known);
    return nearest.empty() ? "; known are " + listed(known) : "; did you mean " + quoted(nearest) + "?";
}

} // namespace config
