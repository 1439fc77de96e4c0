// SPDX-License-Identifier: Apache-2.0
// PASS and FAIL over the whole width, and the counts of a session.
#include "station_banner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;

TEST(StationBanner, FillsTheWidth)
{
    EXPECT_THAT(
        kvn::banner(true, {"4711"}, 24),
        ElementsAre("========================", "=====  PASS  4711  =====", "========================"));
    EXPECT_THAT(
        kvn::banner(false, {"4711"}, 25),
        ElementsAre("#########################", "#####  FAIL  4711  ######", "#########################"));
}

TEST(StationBanner, NamesEverySerialNumber)
{
    EXPECT_EQ(kvn::banner(true, {"a", "b"}, 20)[1], "===  PASS  a, b  ===");
}

TEST(StationBanner, CountsCharactersAndNotBytes)
{
    EXPECT_EQ(kvn::banner(true, {"\xC3\xA4"}, 20)[1], "====  PASS  \xC3\xA4  =====");
}

TEST(StationBanner, CutsNoSerialNumberOff)
{
    const std::string number(40, '7');
    EXPECT_EQ(kvn::banner(false, {number}, 20)[1], "  FAIL  " + number + "  ");
}

TEST(StationTally, IsToldInWords)
{
    kvn::StationTally tally;
    EXPECT_EQ(kvn::in_words(tally), "0 units: 0 passed, 0 failed");
    tally.add({.status = kvn::ExitStatus::done, .counts = {}});
    EXPECT_EQ(kvn::in_words(tally), "1 unit: 1 passed, 0 failed");
    tally.add({.status = kvn::ExitStatus::bus, .counts = {}});
    EXPECT_EQ(kvn::in_words(tally), "2 units: 1 passed, 1 failed");
}
} // namespace
