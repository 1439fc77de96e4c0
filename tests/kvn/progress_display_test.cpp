// SPDX-License-Identifier: Apache-2.0
// What kvn load shows while it sends, by a clock of the test.
#include "progress_display.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{
using kvn::Progress;
using kvn::ProgressDisplay;
using kvn::ProgressStyle;
using std::chrono::milliseconds;

class ProgressDisplayTest : public testing::Test
{
protected:
    ProgressDisplay display(ProgressStyle style)
    {
        return ProgressDisplay{style, "mwc4a:0/1", "design.bit", [this] { return now; }, out};
    }
    /// What is added to the output at a time after the beginning.
    std::string shown(ProgressDisplay& display, milliseconds at, const Progress& progress)
    {
        now = ProgressDisplay::Clock::time_point{at};
        out.str("");
        display.show(progress);
        return out.str();
    }
    std::string shown_at_end(ProgressDisplay& display, kvn::Verdict verdict)
    {
        out.str("");
        kvn::Record record;
        record.verdict = verdict;
        display.end(record);
        return out.str();
    }

    ProgressDisplay::Clock::time_point now;
    std::ostringstream out;
};

TEST_F(ProgressDisplayTest, ShowsALineAtBeginAndEndAndAtMostOneInTenSecondsBetween)
{
    ProgressDisplay lines = display(ProgressStyle::lines);
    EXPECT_EQ(shown(lines, milliseconds{500}, {.bytes = 8, .total = 400}),
              "mwc4a:0/1: loading design.bit, 400 bytes\n");
    EXPECT_EQ(shown(lines, milliseconds{500}, {.bytes = 16, .total = 400}), "");
    EXPECT_EQ(shown(lines, milliseconds{10499}, {.bytes = 99, .total = 400}), "");
    EXPECT_EQ(shown(lines, milliseconds{10500}, {.bytes = 100, .total = 400, .seconds_left = 29.6}),
              "mwc4a:0/1: 25 %, 100 of 400 bytes, 30 s left\n");
    EXPECT_EQ(shown(lines, milliseconds{20499}, {.bytes = 200, .total = 400}), "");
    EXPECT_EQ(shown(lines, milliseconds{27000}, {.bytes = 300, .total = 400}),
              "mwc4a:0/1: 75 %, 300 of 400 bytes\n");
    EXPECT_EQ(shown(lines, milliseconds{36999}, {.bytes = 400, .total = 400}), "")
        << "ten seconds from the line";
    EXPECT_EQ(shown_at_end(lines, kvn::Verdict::configured), "mwc4a:0/1: configured\n");
}

TEST_F(ProgressDisplayTest, WritesTheRowAtMostEveryTenthOfASecondAndWhenAllIsSent)
{
    ProgressDisplay bar = display(ProgressStyle::bar);
    EXPECT_EQ(shown(bar, milliseconds{0}, {.bytes = 40, .total = 400, .seconds_left = 9.0}),
              "\rmwc4a:0/1  10 %, 40 of 400 bytes, 9 s left");
    EXPECT_EQ(shown(bar, milliseconds{99}, {.bytes = 50, .total = 400}), "");
    EXPECT_EQ(shown(bar, milliseconds{100}, {.bytes = 60, .total = 400}),
              "\rmwc4a:0/1  15 %, 60 of 400 bytes          ")
        << "blanks cover the longer row";
    EXPECT_EQ(shown(bar, milliseconds{199}, {.bytes = 396, .total = 400}), "");
    EXPECT_EQ(shown(bar, milliseconds{199}, {.bytes = 400, .total = 400}),
              "\rmwc4a:0/1  100 %, 400 of 400 bytes");
    EXPECT_EQ(shown_at_end(bar, kvn::Verdict::refused), "\n");
}

TEST_F(ProgressDisplayTest, ShowsBytesWhereTheTotalIsNotKnown)
{
    ProgressDisplay lines = display(ProgressStyle::lines);
    EXPECT_EQ(shown(lines, milliseconds{0}, {.bytes = 8}), "mwc4a:0/1: loading design.bit\n");
    EXPECT_EQ(shown(lines, milliseconds{10000}, {.bytes = 16}), "mwc4a:0/1: 16 bytes\n");
    ProgressDisplay bar = display(ProgressStyle::bar);
    EXPECT_EQ(shown(bar, milliseconds{0}, {.bytes = 8}), "\rmwc4a:0/1  8 bytes");
}

TEST_F(ProgressDisplayTest, NeverShowsMoreThanAllAndNoPartOfNothing)
{
    ProgressDisplay bar = display(ProgressStyle::bar);
    EXPECT_EQ(shown(bar, milliseconds{0}, {.bytes = 500, .total = 400}),
              "\rmwc4a:0/1  100 %, 500 of 400 bytes");
    EXPECT_EQ(shown(bar, milliseconds{0}, {.bytes = 0, .total = 0}), "\rmwc4a:0/1  0 %, 0 of 0 bytes      ");
}

TEST_F(ProgressDisplayTest, ShowsNothingOfALoadThatHasNotBegunAndNothingWhereNoneIsAskedFor)
{
    for (const ProgressStyle style : {ProgressStyle::bar, ProgressStyle::lines}) {
        ProgressDisplay idle = display(style);
        EXPECT_EQ(shown_at_end(idle, kvn::Verdict::not_tried), "");
    }
    ProgressDisplay none = display(ProgressStyle::none);
    EXPECT_EQ(shown(none, milliseconds{0}, {.bytes = 8, .total = 400}), "");
    EXPECT_EQ(shown_at_end(none, kvn::Verdict::configured), "");
}

TEST(ProgressStyle, IsWhatIsAskedFor)
{
    EXPECT_EQ(kvn::progress_style("none"), ProgressStyle::none);
    EXPECT_EQ(kvn::progress_style("bar"), ProgressStyle::bar);
    EXPECT_EQ(kvn::progress_style("lines"), ProgressStyle::lines);
}
} // namespace
