// SPDX-License-Identifier: Apache-2.0
// Eight loads at once, on boards of one rack; run under the thread sanitizer too.
#include "load_support.h"
#include "rack.h"
#include "support/meeting.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
constexpr unsigned LOADS = 8;

class EngineThreads : public testing::Test
{
protected:
    EngineThreads()
    {
        rack.keep_journal(false);
        for (std::uint16_t number = 0; number < LOADS; ++number) {
            const mwvirtual::Module module =
                mwvirtual::fpga_module(4).device("2v40cs144-4").accepts_compressed();
            rack.put_module(rack.add_board({"mwc4a", number}), 1, &module);
        }
    }

    /// Runs an action in each of the threads.
    template <class Action>
    static void in_all_threads(Action action)
    {
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < LOADS; ++number)
            threads.emplace_back([&action, number] { action(number); });
        for (std::thread& thread : threads)
            thread.join();
    }

    mwvirtual::Rack rack;
    const kvn::Provider provider{rack, "rack"};
    const kvn::Input file = bitstream("design.bit", "2v40cs144", configuration("2v40cs144-4"));
};

TEST_F(EngineThreads, LoadAtOnceWithoutTouchingEachOther)
{
    std::vector<kvn::Record> records(LOADS);
    std::vector<kvn::LoadControl> controls(LOADS);
    Meeting all_loading{LOADS};
    in_all_threads([&](unsigned number) {
        controls[number].on_progress = [&](const kvn::Progress& progress) {
            if (progress.bytes == 2)
                all_loading.arrive_and_wait();
            EXPECT_GE(controls[(number + 1) % LOADS].progress().bytes, 2U) << "polled from another thread";
            // Half of the loads are cancelled, each by its neighbour.
            if (number % 2 == 0 && progress.bytes > 2)
                controls[number + 1].cancel();
        };
        const kvn::LoadRequest request{.module = {.board = {"mwc4a", number}, .slot = 1},
                                       .file = &file,
                                       .mode =
                                           number % 4 < 2 ? kvn::ModeWish::plain : kvn::ModeWish::as_taken};
        records[number] = kvn::load(provider, request, controls[number]);
    });
    for (std::uint16_t number = 0; number < LOADS; ++number) {
        const kvn::Record& record = records[number];
        const mwvirtual::Contents contents = rack.contents({"mwc4a", number}, 1);
        EXPECT_EQ(contents.loads, 1U);
        EXPECT_EQ(record.wire_bytes->value, contents.received.size());
        if (number % 2 == 0) {
            EXPECT_EQ(record.verdict, kvn::Verdict::configured);
        }
        EXPECT_EQ(record.verdict == kvn::Verdict::configured, contents.done);
        EXPECT_TRUE(record.verdict == kvn::Verdict::configured || record.verdict == kvn::Verdict::cancelled);
    }
    EXPECT_EQ(rack.open_handles(), 0U);
}

TEST_F(EngineThreads, ListAtOnce)
{
    in_all_threads([&](unsigned number) {
        const auto rows = kvn::list(provider, {.board_type = "mwc4a", .board = number});
        EXPECT_EQ(rows.at(0).slots.at(0).module->device, "2v40cs144-4");
    });
    EXPECT_EQ(rack.open_handles(), 0U);
}
} // namespace
