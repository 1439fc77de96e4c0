// SPDX-License-Identifier: Apache-2.0
// Progress: when a report is due, and the percentages of loads and conversions.
#include "formats/progress.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
constexpr std::int32_t MIN = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t MAX = std::numeric_limits<std::int32_t>::max();

TEST(Progress, AReportIsDueEvery625Words)
{
    BitTally bits;
    int words = 0;
    do {
        bits.add_words(1);
        ++words;
    } while (!bits.report_is_due());
    EXPECT_EQ(words, 625);
    EXPECT_EQ(bits.found, 20000);
}

TEST(Progress, ReadingAheadStopsAtEachReport)
{
    BitTally bits;
    for (int word = 0; word < 2000; ++word) {
        BitTally ahead = bits;
        const std::size_t words = bits.words_to_report();
        for (std::size_t i = 1; i < words; ++i) {
            ahead.add_words(1);
            ASSERT_FALSE(ahead.report_is_due()) << bits.found;
        }
        ahead.add_words(1);
        ASSERT_TRUE(ahead.report_is_due()) << bits.found;
        bits.add_words(1);
    }
}

TEST(Progress, ReadingAheadMissesNoReportWhereTheCountWraps)
{
    // The last multiple of 20000 below 2^31, and the first one above -2^31 that words of 32 bits meet.
    BitTally bits{.found = MAX - 127 - 32 * 2000};
    for (int word = 0; word < 8000; ++word) {
        BitTally ahead = bits;
        for (std::size_t i = 1; i < bits.words_to_report(); ++i) {
            ahead.add_words(1);
            ASSERT_FALSE(ahead.report_is_due()) << bits.found;
        }
        bits.add_words(1);
    }
    EXPECT_LT(bits.found, 0) << "the count has wrapped";
}

TEST(Progress, CountsWrapIn32Bits)
{
    EXPECT_EQ(wrapping_add(MAX, 1), MIN);
    EXPECT_EQ(wrapping_add(MIN, -1), MAX);
    EXPECT_EQ(wrapping_add(20, 12), 32);
    BitTally bits{.stated = MIN, .found = MAX - 31};
    bits.add_words(1);
    EXPECT_TRUE(bits.matches());
}

struct Row {
    std::int64_t done;
    std::int32_t total;
    std::int32_t percent;
};

TEST(Progress, ALoadsPercentageWrapsIn32Bits)
{
    constexpr Row rows[] = {
        {0, 1, 0},
        {32, 32, 100},
        {20000, 60000, 33},
        {21474836, 21474836, 100},
        {21474837, 21474837, -99}, // 2147483700 is -2147483596
        {42949673, 42949673, 0},   // 4294967300 is 4
        {-20000, 60000, -33},      // toward zero
        {20000, -60000, -33},
        {MAX, 1, -100}, // 2147483647 * 100 is -100
        {MIN, -1, 0},
        {1, -1, -100},
        {-1, -1, 100},
        {1 << 29, -1, MIN}, // the one quotient beyond 32 bits
        {1 << 29, 1, MIN},
    };
    for (const Row& row : rows)
        EXPECT_EQ(load_percent(static_cast<std::int32_t>(row.done), row.total), row.percent)
            << row.done << " of " << row.total;
}

TEST(Progress, AConversionsPercentageDoesNotWrapAndIsDividedTowardZero)
{
    constexpr Row rows[] = {
        {34292768, 34292768, 100},
        {MAX, MAX, 100},
        {std::int64_t{MAX} - 1, MAX, 99},
        {19999, 60000, 33},
        {64, 32, 200},
        {0, 0, 100},
        {32, 0, 100},
        {0, -8, 0},
        {32, -96, -33},
        {-32, -64, 50},
        {32, -1, -3200},
        {20000, MIN, 0},
        {MIN, MIN, 100},
    };
    for (const Row& row : rows)
        EXPECT_EQ(conversion_percent(row.done, row.total), row.percent) << row.done << " of " << row.total;
}
} // namespace
