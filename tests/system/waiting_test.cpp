// SPDX-License-Identifier: Apache-2.0
// Waiting for several things at once.
#include "system/waiting.h"

#include "system/wake_up.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace
{
using kvn::system::Awaited;
using kvn::system::wait;
using kvn::system::Waitable;
using kvn::system::WakeUp;

TEST(Waiting, EndsWithItsTime)
{
    const WakeUp never;
    std::array entries{Awaited{.what = never.waitable()}, Awaited{.what = Waitable::none}};
    EXPECT_FALSE(wait(entries, 1));
    EXPECT_FALSE(entries[0].is_ready);
    EXPECT_FALSE(entries[1].is_ready);
}

TEST(Waiting, SaysWhatIsReady)
{
    const WakeUp first;
    const WakeUp second;
    second.signal();
    std::array entries{Awaited{.what = first.waitable()}, Awaited{.what = second.waitable()}};
    EXPECT_TRUE(wait(entries, -1));
    EXPECT_FALSE(entries[0].is_ready);
    EXPECT_TRUE(entries[1].is_ready);
}

TEST(Waiting, IsEndedByAnotherThread)
{
    const WakeUp woken;
    std::array entries{Awaited{.what = woken.waitable()}};
    const std::jthread other{[&woken] { woken.signal(); }};
    EXPECT_TRUE(wait(entries, -1));
}

TEST(Waiting, WaitsAgainAfterWhatWasAcknowledged)
{
    const WakeUp woken;
    woken.signal();
    woken.signal();
    woken.acknowledge();
    std::array entries{Awaited{.what = woken.waitable()}};
    EXPECT_FALSE(wait(entries, 0));
    woken.signal();
    EXPECT_TRUE(wait(entries, 0));
}

TEST(Waiting, TakesMoreThanAHundredEntries)
{
    constexpr std::size_t MANY = 150;
    const std::vector<WakeUp> all(MANY);
    all.back().signal();
    std::vector<Awaited> entries;
    for (const WakeUp& each : all)
        entries.push_back({.what = each.waitable()});
    EXPECT_TRUE(wait(entries, -1));
    for (const Awaited& entry : entries)
        EXPECT_EQ(entry.is_ready, &entry == &entries.back());
}
} // namespace
