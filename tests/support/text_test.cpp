// SPDX-License-Identifier: Apache-2.0
// Bounded copies and decimal conversion.
#include "support/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace
{
struct Number {
    const char* text;
    std::int32_t value;
};

class DecimalConversion : public testing::TestWithParam<Number>
{
};

TEST_P(DecimalConversion, ConvertsTheLeadingInteger)
{
    EXPECT_EQ(to_number(GetParam().text), GetParam().value) << '"' << GetParam().text << '"';
}

constexpr std::int32_t LARGEST = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t SMALLEST = std::numeric_limits<std::int32_t>::min();

INSTANTIATE_TEST_SUITE_P(Texts, DecimalConversion,
                         testing::Values(Number{"0", 0}, Number{"15", 15}, Number{"007", 7}, Number{"+3", 3},
                                         Number{"-3", -3}, Number{"  12", 12}, Number{"\t\n\v\f\r 12", 12},
                                         Number{"12abc", 12}, Number{"12 34", 12}, Number{"0x10", 0},
                                         Number{"", 0}, Number{"abc", 0}, Number{"-", 0}, Number{"+", 0},
                                         Number{"- 3", 0}, Number{"--3", 0}, Number{"+-3", 0},
                                         Number{".5", 0}));

INSTANTIATE_TEST_SUITE_P(SaturatesAt32Bits, DecimalConversion,
                         testing::Values(Number{"2147483647", LARGEST}, Number{"2147483648", LARGEST},
                                         Number{"4294967296", LARGEST},
                                         Number{"99999999999999999999999999", LARGEST},
                                         Number{"-2147483648", SMALLEST}, Number{"-2147483649", SMALLEST},
                                         Number{"-99999999999999999999999999", SMALLEST},
                                         Number{"0000000000000000000000000000012", 12}));

TEST(CopyText, CutsToTheField)
{
    char field[5] = {'x', 'x', 'x', 'x', 'x'};
    copy_text(field, "abc");
    EXPECT_STREQ(field, "abc");
    copy_text(field, "abcd");
    EXPECT_STREQ(field, "abcd");
    copy_text(field, "abcdefgh");
    EXPECT_STREQ(field, "abcd");
    copy_text(field, "");
    EXPECT_STREQ(field, "");
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
    EXPECT_EQ(lower('A'), 'a');
    EXPECT_EQ(lower('Z'), 'z');
    EXPECT_EQ(lower('a'), 'a');
    EXPECT_EQ(lower('@'), '@');
    EXPECT_EQ(lower('['), '[');
    EXPECT_EQ(lower('\xC4'), '\xC4');
}
} // namespace
