// SPDX-License-Identifier: Apache-2.0
// Loads that break at every platform call and at every allocation.
#include "load_support.h"
#include "support/allocation_faults.h"
#include "support/fake_platform.h"
#include "support/run_fixture.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>

namespace
{
using kvn::LoadRequest;
using kvn::ModeWish;
using kvn::ModuleState;
using kvn::Progress;
using kvn::Record;
using kvn::Verdict;

/// Small loads: into a device that only force lets pass, because nothing is known of it.
class FailedLoad : public testing::TestWithParam<std::tuple<const char*, ModeWish>>
{
protected:
    FailedLoad()
    {
        platform.board("mwc4a", 0).slot(2, fpga_module(4).device("2v7cs144-4").accepts_compressed());
    }

    Record load(kvn::LoadControl& control)
    {
        platform.log.clear();
        const Record record = kvn::load(provider, request, control);
        EXPECT_EQ(platform.open_handles(), 0);
        return record;
    }
    Record load()
    {
        kvn::LoadControl control;
        return load(control);
    }

    FakePlatform platform;
    kvn::Provider provider{platform, "fake"};
    const kvn::Input file = bitstream(std::get<0>(GetParam()), "2v7cs144", sample_data(64));
    LoadRequest request{.module = {.board = {"mwc4a", 0}, .slot = 2},
                        .file = &file,
                        .mode = std::get<1>(GetParam()),
                        .force = true};
};

/// What a module holds after the call that failed; the names as in the fake platform's log.
ModuleState state_after(const std::vector<std::string>& calls)
{
    const auto has = [&](const char* name) {
        return std::any_of(calls.begin(), calls.end(),
                           [&](const std::string& call) { return call.starts_with(name); });
    };
    if (has("EndOfSendMessageEx"))
        return ModuleState::unknown;
    return has("SendMessageDataEx") ? ModuleState::interrupted : ModuleState::untouched;
}

TEST_P(FailedLoad, LeavesNothingOpenWhicheverCallFails)
{
    const int before = platform.calls();
    ASSERT_EQ(load().verdict, Verdict::configured);
    const int calls = platform.calls() - before;
    ASSERT_GT(calls, 15);
    for (int n = 1; n <= calls; ++n) {
        platform.fail_call(n);
        const Record record = load();
        const std::vector<std::string> journal = platform.journal();
        EXPECT_EQ(record.state, state_after(journal)) << "call " << n;
        const bool begun = std::any_of(journal.begin(), journal.end(), [](const std::string& call) {
            return call.starts_with("StartSendMessageEx");
        });
        EXPECT_EQ(record.verdict, begun ? Verdict::failed : Verdict::not_tried) << "call " << n;
        ASSERT_TRUE(record.failure) << "call " << n;
        EXPECT_GT(record.failure->number, 9000) << record.failure->what;
        EXPECT_TRUE(record.failure->what.ends_with("(api 0x77).")) << record.failure->what;
        const bool opened = journal.size() > 2;
        EXPECT_EQ(journal.back(), opened ? "Close" : "Err2Text 0x77") << "call " << n;
        EXPECT_EQ(record.answer, std::nullopt);
        platform.fail_nothing();
    }
    EXPECT_EQ(load().verdict, Verdict::configured);
}

TEST_P(FailedLoad, CanBeCancelledAtEveryCallOfData)
{
    Bytes all;
    std::size_t calls = 0;
    kvn::LoadControl counting;
    counting.on_sent = [&](std::span<const std::uint8_t>) { ++calls; };
    ASSERT_EQ(load(counting).verdict, Verdict::configured);
    ASSERT_GT(calls, 4U);
    for (std::size_t n = 1; n <= calls; ++n) {
        kvn::LoadControl control;
        std::size_t made = 0;
        std::uint64_t bytes = 0;
        control.on_sent = [&](std::span<const std::uint8_t> piece) {
            bytes += piece.size();
            if (++made == n)
                control.cancel();
        };
        const Record record = load(control);
        EXPECT_EQ(made, n);
        EXPECT_EQ(record.verdict, Verdict::cancelled);
        EXPECT_EQ(record.state, ModuleState::interrupted);
        EXPECT_EQ(record.failure->number, 0);
        EXPECT_EQ(record.wire_bytes->value, bytes);
        for (const std::string& call : platform.journal())
            EXPECT_FALSE(call.starts_with("EndOfSend")) << "the message must stay open";
        EXPECT_EQ(platform.journal().back(), "Close");
    }
}

TEST_P(FailedLoad, LeavesNothingOpenWhicheverAllocationFails)
{
    const std::size_t descriptors = count_descriptors();
    platform.logs_data = false;
    bool done = false;
    long n = 0;
    while (!done) {
        ++n;
        kvn::LoadControl control;
        platform.log.clear();
        AllocationPlan plan{n};
        try {
            const Record record = plan.during([&] { return kvn::load(provider, request, control); });
            done = !plan.has_failed();
            // A call without memory fails; what has no effect on the load may be done without.
            EXPECT_EQ(record.failure.has_value(), record.verdict != Verdict::configured) << n;
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(plan.has_failed());
        }
        ASSERT_EQ(platform.open_handles(), 0) << n;
        ASSERT_EQ(count_descriptors(), descriptors) << n;
    }
    EXPECT_GT(n, 50);
}

INSTANTIATE_TEST_SUITE_P(AllFormats, FailedLoad,
                         testing::Combine(testing::Values("a.rbt", "a.bit", "a.mcb"),
                                          testing::Values(ModeWish::plain, ModeWish::compressed)));
} // namespace
