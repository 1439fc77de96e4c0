// SPDX-License-Identifier: Apache-2.0
// How long a run still takes.
#include "run/remaining_time.h"

#include <gtest/gtest.h>

namespace kvn
{
namespace
{

RemainingTime::Time at(int seconds)
{
    return RemainingTime::Time{} + std::chrono::seconds{1000 + seconds};
}

TEST(RemainingTime, IsNotKnownBeforeAByteHasMoved)
{
    RemainingTime time{{100, 100}, 0};
    EXPECT_EQ(time.seconds_left(at(0)), std::nullopt);
    time.begin(0, at(0));
    EXPECT_EQ(time.seconds_left(at(1)), std::nullopt);
}

TEST(RemainingTime, IsThatOfTheSlowestBus)
{
    RemainingTime time{{100, 100}, 0};
    time.begin(0, at(0));
    time.begin(1, at(0));
    time.note(0, 50, at(1));
    time.note(1, 10, at(1));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(1)), 9);
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(3)), 7);
}

TEST(RemainingTime, ABusWithoutBytesGoesAtTheRateOfTheOthers)
{
    RemainingTime time{{100, 300}, 0};
    time.begin(0, at(0));
    time.begin(1, at(0));
    time.note(0, 50, at(1));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(1)), 6);
}

TEST(RemainingTime, BusesThatWaitTakeTheFirstPlaceThatIsFree)
{
    RemainingTime time{{100, 100, 100}, 2};
    time.begin(0, at(0));
    time.begin(1, at(0));
    time.note(0, 20, at(2));
    time.note(1, 20, at(2));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(2)), 8 + 10);
}

TEST(RemainingTime, ABusThatHasEndedStillTellsItsRate)
{
    RemainingTime time{{100, 50}, 1};
    time.begin(0, at(0));
    time.note(0, 100, at(10));
    time.end(0, at(10));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(20)), 5);
    time.end(1, at(30));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(30)), 0);
}

TEST(RemainingTime, MoreBytesThanPlannedDoNoHarm)
{
    RemainingTime time{{100}, 0};
    time.begin(0, at(0));
    time.note(0, 500, at(1));
    EXPECT_DOUBLE_EQ(*time.seconds_left(at(1)), 0);
}

} // namespace
} // namespace kvn
