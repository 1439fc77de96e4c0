// SPDX-License-Identifier: Apache-2.0
// The data lines of an RBT file, however long they are.
#ifndef KVN_ENGINE_FILE_RBT_LINES_H
#define KVN_ENGINE_FILE_RBT_LINES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <vector>

namespace kvn
{

/// What the data lines of a file look like. Lines count from 1, from the first line of the file.
struct RbtLines {
    std::size_t count = 0; ///< without empty ones at the end
    std::size_t empty_at_end = 0;
    std::size_t shortest = 0; ///< characters, without the line end
    std::size_t longest = 0;
    std::size_t wrong = 0; ///< the first line that is not 32 characters and a line feed; 0 when there is none
    std::size_t wrong_length = 0; ///< its characters without the line feed
    bool wrong_has_carriage_return = false;
    std::size_t of_32 = 0; ///< how many lines have 32 characters
    bool ends_with_line_feed = true;
    std::size_t odd_line = 0; ///< where the first character is that is neither 0 nor 1; 0 when there is none
    std::size_t odd_column = 0;
    std::uint64_t bits = 0;

    /// Whether the lines as a whole are of another length, not one of them by accident.
    [[nodiscard]] bool have_other_lengths() const { return wrong != 0 && of_32 * 2 < count; }
};

/// Reads the data lines of a file, and joins their characters: '1' is a one, any other a zero, as everywhere.
/// @param begin where the first data line begins
/// @param number of that line
/// @param take takes the bytes in transmission order; the last one is filled up with zeros
RbtLines read_rbt_lines(std::FILE* file, long begin, std::size_t number,
                        const std::function<void(std::span<const std::uint8_t>)>& take);

} // namespace kvn

#endif
