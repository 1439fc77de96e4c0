// SPDX-License-Identifier: Apache-2.0
// Independent pieces of work in several threads.
#include "run/parallel.h"

#include "support/meeting.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
TEST(Parallel, DoesEachPieceOnce)
{
    for (const unsigned threads : {0U, 1U, 2U, 8U}) {
        std::vector<std::atomic<int>> done(100);
        kvn::in_parallel(done.size(), threads, [&](std::size_t index) { ++done[index]; });
        for (const auto& times : done)
            EXPECT_EQ(times, 1);
    }
    kvn::in_parallel(0, 4, [](std::size_t) { FAIL() << "there is no piece"; });
}

TEST(Parallel, WorksOnSeveralPiecesAtOnce)
{
    Meeting both{2};
    std::atomic<int> met{0};
    kvn::in_parallel(2, 2, [&](std::size_t) {
        both.arrive_and_wait();
        ++met;
    });
    EXPECT_EQ(met, 2);
}

TEST(Parallel, ThrowsWhatAPieceThrowsAndBeginsNoOther)
{
    int begun = 0;
    EXPECT_THROW(kvn::in_parallel(5, 1,
                                  [&](std::size_t) {
                                      ++begun;
                                      throw std::out_of_range{"here"};
                                  }),
                 std::out_of_range);
    EXPECT_EQ(begun, 1);
}
} // namespace
