// SPDX-License-Identifier: Apache-2.0
// When progress is shown, and the percentage.
#ifndef KVN_FPGA_FORMATS_PROGRESS_H
#define KVN_FPGA_FORMATS_PROGRESS_H

#include "formats/byte_sizes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

inline constexpr std::int32_t BITS_PER_WORD = 32;
inline constexpr std::int32_t BITS_PER_REPORT = 20000;

// The words between two reports, which are read at once.
inline constexpr std::size_t WORDS_PER_REPORT = BITS_PER_REPORT / BITS_PER_WORD;
inline constexpr std::size_t BYTES_PER_REPORT = WORDS_PER_REPORT * WORD_SIZE;

constexpr std::int32_t wrapping_add(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// The number of bits that a file states and the number found in it; both wrap at 32 bits.
struct BitTally {
    std::int32_t stated = 0;
    std::int32_t found = 0;

    /// Returns how many words there are until the next report is due.
    [[nodiscard]] std::size_t words_to_report() const
    {
        if (found > std::numeric_limits<std::int32_t>::max() - BITS_PER_REPORT)
            return 1; // the count is about to wrap: a report may be due on either side
        const std::int32_t beyond = found % BITS_PER_REPORT;
        const std::int32_t missing = beyond < 0 ? -beyond : BITS_PER_REPORT - beyond;
        return std::max<std::size_t>(1, static_cast<std::size_t>(missing / BITS_PER_WORD));
    }

    void add_words(std::size_t words)
    {
        found = wrapping_add(found, static_cast<std::int32_t>(words) * BITS_PER_WORD);
    }

    [[nodiscard]] bool report_is_due() const { return found % BITS_PER_REPORT == 0; }
    [[nodiscard]] bool matches() const { return found == stated; }
};

/// The percentage that a load shows. Required: computed in 32 bits that wrap, so large devices show odd
/// numbers.
/// @param total not 0
constexpr std::int32_t load_percent(std::int32_t done, std::int32_t total)
{
    const auto hundredfold = static_cast<std::int32_t>(static_cast<std::uint32_t>(done) * 100U);
    // The only quotient beyond 32 bits wraps too.
    return total == -1 ? static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(hundredfold))
                       : hundredfold / total;
}

/// The percentage that a converter shows.
/// Choice: with a stated size of 0 everything is done (docs/decisions/0006-percentages.md).
constexpr int conversion_percent(std::int64_t done, std::int64_t total)
{
    return total != 0 ? static_cast<int>(done * 100 / total) : 100;
}

#endif
