// SPDX-License-Identifier: Apache-2.0
// Loads that break at every platform call, at every read of the file, and at every allocation.
#include "load_support.h"
#include "rack.h"
#include "support/fake_platform.h"
#include "support/faults.h"
#include "support/run_fixture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace
{
/// The allocation of this thread that fails, counted from now; 0: none.
thread_local std::size_t allocations_left = 0;

void* allocate(std::size_t size)
{
    const bool fails = allocations_left != 0 && --allocations_left == 0;
    void* memory = fails ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc{};
    return memory;
}
} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

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
    for (std::size_t n = 1; !done; ++n) {
        kvn::LoadControl control;
        platform.log.clear();
        allocations_left = n;
        try {
            const Record record = kvn::load(provider, request, control);
            done = allocations_left != 0;
            // A call without memory fails; what has no effect on the load may be done without.
            EXPECT_EQ(record.failure.has_value(), record.verdict != Verdict::configured) << n;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(allocations_left, 0U);
        }
        allocations_left = 0;
        ASSERT_EQ(platform.open_handles(), 0) << n;
        ASSERT_EQ(count_descriptors(), descriptors) << n;
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, FailedLoad,
                         testing::Combine(testing::Values("a.rbt", "a.bit", "a.mcb"),
                                          testing::Values(ModeWish::plain, ModeWish::compressed)));

class UnreadableLoad : public testing::TestWithParam<const char*>
{
};

// A file in memory can always be read; that it cannot is the last thing to be taken for granted.
TEST_P(UnreadableLoad, TellsTheTruthWhicheverReadFails)
{
    mwvirtual::Rack rack;
    rack.keep_journal(false);
    const std::string device = "2v40cs144-4";
    const mwvirtual::Module module = mwvirtual::fpga_module(4).device(device).accepts_compressed();
    rack.put_module(rack.add_board({"mwc4a", 0}), 2, &module);
    kvn::Provider provider{rack, "rack"};
    const kvn::Input file = bitstream(GetParam(), part_of(device), configuration(device));
    const LoadRequest request{.module = {.board = {"mwc4a", 0}, .slot = 2}, .file = &file};
    const std::size_t descriptors = count_descriptors();
    const FaultScope faults;
    int failed = 0;
    // The plan lies behind the last read when several in a row make no difference.
    int without_effect = 0;
    for (int n = 1; without_effect < 5; ++n) {
        const std::size_t loads = rack.contents({"mwc4a", 0}, 2).loads;
        kvn::LoadControl control;
        fail_read_at(n);
        const Record record = kvn::load(provider, request, control);
        no_faults();
        const mwvirtual::Contents contents = rack.contents({"mwc4a", 0}, 2);
        ASSERT_EQ(contents.loads - loads, record.attempts) << n;
        const bool sent_all = record.attempts != 0 && contents.finished;
        EXPECT_EQ(record.verdict == Verdict::configured, sent_all && contents.done) << n;
        EXPECT_EQ(record.state == ModuleState::interrupted, record.attempts != 0 && !contents.finished) << n;
        EXPECT_EQ(rack.open_handles(), 0U) << n;
        EXPECT_EQ(count_descriptors(), descriptors) << n;
        const bool configured = record.verdict == Verdict::configured;
        EXPECT_EQ(record.failure.has_value(), !configured) << n;
        without_effect = configured ? without_effect + 1 : 0;
        failed += configured ? 0 : 1;
    }
    EXPECT_GT(failed, 2);
}

INSTANTIATE_TEST_SUITE_P(AllFormats, UnreadableLoad, testing::Values("a.rbt", "a.bit", "a.mcb"));
} // namespace
