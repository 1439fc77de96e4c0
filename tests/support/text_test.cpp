// SPDX-License-Identifier: Apache-2.0
// Bounded copies and decimal conversion.
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

namespace
{
constexpr std::int32_t LARGEST = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t SMALLEST = std::numeric_limits<std::int32_t>::min();

TEST(DecimalConversion, ConvertsTheLeadingIntegerAndSaturatesAt32Bits)
{
    const std::pair<const char*, std::int32_t> rows[] = {{"0", 0},
                                                         {"15", 15},
                                                         {"007", 7},
                                                         {"+3", 3},
                                                         {"-3", -3},
                                                         {"  12", 12},
                                                         {"\t\n\v\f\r 12", 12},
                                                         {"12abc", 12},
                                                         {"12 34", 12},
                                                         {"0x10", 0},
                                                         {"", 0},
                                                         {"abc", 0},
                                                         {"-", 0},
                                                         {"+", 0},
                                                         {"- 3", 0},
                                                         {"--3", 0},
                                                         {"+-3", 0},
                                                         {".5", 0},
                                                         {"2147483647", LARGEST},
                                                         {"2147483648", LARGEST},
                                                         {"4294967296", LARGEST},
                                                         {"99999999999999999999999999", LARGEST},
                                                         {"-2147483648", SMALLEST},
                                                         {"-2147483649", SMALLEST},
                                                         {"-99999999999999999999999999", SMALLEST},
                                                         {"0000000000000000000000000000012", 12}};
    for (const auto& [text, value] : rows)
        EXPECT_EQ(to_number(text), value) << '"' << text << '"';
}

TEST(CopyText, CutsToTheField)
{
    char field[5] = {'x', 'x', 'x', 'x', 'x'};
    for (const std::string text : {"abc", "abcd", "abcdefgh", ""}) {
        copy_text(field, text);
        EXPECT_EQ(field, text.substr(0, 4));
    }
}

TEST(CopyWithExtension, LeavesTheFieldAloneWhenTheWholeDoesNotFit)
{
    char field[9] = "before";
    EXPECT_TRUE(copy_with_extension(field, "name", ".rbt"));
    EXPECT_STREQ(field, "name.rbt");
    EXPECT_FALSE(copy_with_extension(field, "names", ".rbt"));
    EXPECT_STREQ(field, "name.rbt");
}

TEST(CopyWithExtension, TakesTheFieldsOwnText)
{
    char field[9] = "boat";
    EXPECT_TRUE(copy_with_extension(field, field, ".con"));
    EXPECT_STREQ(field, "boat.con");
}

TEST(Lower, ChangesTheLettersOfAsciiAlone)
{
    std::string text = "AZa@[\xC4";
    std::ranges::transform(text, text.begin(), lower);
    EXPECT_EQ(text, "aza@[\xC4");
}
} // namespace
