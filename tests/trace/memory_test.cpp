// SPDX-License-Identifier: Apache-2.0
// Allocations fail, each in turn, while calls are recorded and replayed.
#include "recording_platform.h"
#include "replaying_platform.h"
#include "support/allocation_faults.h"
#include "support/environment.h"
#include "trace_support.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace
{
using mwapi::Platform;

constexpr std::size_t CALLS_OF_A_RUN = 15;
constexpr std::size_t ERROR_TEXT_AT = 2; // of these calls
using Results = std::array<std::uint32_t, CALLS_OF_A_RUN>;

/// Answers each call in turn with its number, and allocates nothing.
class CountingPlatform final : public mwapi::UniformPlatform<CountingPlatform>
{
public:
    template <mwapi::Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        ++calls;
        const auto values = mwapi::values(arguments...);
        if constexpr (function == mwapi::Function::MwOpenS)
            *values[3].template pointer<MW_HANDLE*>() = mwapi::to_handle(this);
        if constexpr (function == mwapi::Function::MwErr2Text)
            std::strcpy(values[1].template pointer<char>(), "the platform's own words for this code");
        return calls == CALLS_OF_A_RUN ? 0x77U : 0U;
    }

    std::size_t calls = 0;
};

/// The calls of a run with every kind of value.
Results run_on(Platform& platform, AllocationPlan& plan)
{
    static constexpr std::array<std::uint8_t, 100> DATA{1, 2, 3};
    MW_HANDLE* handle = nullptr;
    std::uint32_t word = 0;
    std::uint8_t type = 0;
    std::array<char, mwapi::ERROR_TEXT_SIZE> text{};
    std::array<std::uint32_t, mwapi::BOARD_INFO_WORDS> record{};
    std::array<std::uint8_t, 40> buffer{};
    Results results{};
    std::size_t next = 0;
    const auto call = [&](auto action) { results.at(next++) = plan.during(action); };
    call([&] { return platform.open("a board type of many letters", 0, "ksb", &handle, &word); });
    call([&] { return platform.board_info("a board type of many letters", 0, record.data()); });
    call([&] { return platform.error_text(5, text.data()); });
    call([&] { return platform.send(handle, 1, 1, DATA.data(), 100, 5000); });
    call([&] { return platform.receive(handle, &type, 1, buffer.data(), 40, &(word = 40), 5000); });
    call([&] { return platform.start_send(handle, 0, 1, 5000); });
    for (int i = 0; i < 5; ++i)
        call([&] { return platform.send_data(handle, DATA.data(), 8, 5000); });
    call([&] { return platform.send_data(handle, nullptr, 0, 5000); });
    call([&] { return platform.end_send(handle, 5000); });
    call([&] { return platform.start_receive(handle, &word, 5000); });
    call([&] { return platform.close(&handle); });
    return results;
}

const Results GOOD = [] {
    Results results{};
    results.back() = 0x77;
    return results;
}();

class Memory : public FolderTest
{
protected:
    /// Records a run with a fault. @return what was reported
    std::string record()
    {
        testing::internal::CaptureStderr();
        {
            CountingPlatform counting;
            mwtrace::Recorder recorder{path("trace"), "test"};
            mwtrace::RecordingPlatform recording{counting, recorder};
            EXPECT_EQ(run_on(recording, plan), GOOD);
            EXPECT_EQ(counting.calls, CALLS_OF_A_RUN);
            plan.during([&] { recorder.attempt([&] { recorder.flush(); }); });
        }
        return testing::internal::GetCapturedStderr();
    }

    AllocationPlan plan;
};

TEST_F(Memory, WithoutItARecordingEndsAndEveryCallIsMade)
{
    const std::string told =
        "mwtrace: cannot write " + path("trace") + ": no memory is left; the run goes on unrecorded\n";
    for (const bool later_too : {false, true}) {
        long nth = 0;
        do {
            plan = AllocationPlan{++nth, Allocator::any, later_too};
            const std::string reported = record();
            EXPECT_EQ(reported, plan.has_failed() ? told : "") << nth;
        } while (plan.has_failed());
        EXPECT_GT(nth, 100);
    }
}

TEST_F(Memory, WithoutItARecordingCannotBeginAndIsReported)
{
    set_variable("KVN_TEST_TRACE", path("trace"));
    long nth = 0;
    do {
        plan = AllocationPlan{++nth, Allocator::any, true};
        testing::internal::CaptureStderr();
        const auto recorder =
            plan.during([] { return mwtrace::recorder_from_environment("KVN_TEST_TRACE", "test"); });
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  plan.has_failed() ? "mwtrace: cannot write " + path("trace") +
                                          ": no memory is left; the run goes on unrecorded\n"
                                    : "")
            << nth;
    } while (plan.has_failed());
    EXPECT_GT(nth, 3);
    unset_variable("KVN_TEST_TRACE");
}

TEST_F(Memory, WithoutItAReplayAnswersACodeWithAText)
{
    EXPECT_EQ(record(), "");
    const std::string trace = path("trace");
    for (const bool later_too : {false, true}) {
        long nth = 0;
        do {
            plan = AllocationPlan{++nth, Allocator::any, later_too};
            std::optional<mwtrace::ReplayingPlatform> replaying;
            plan.during([&] { replaying.emplace(trace); });
            const Results results = run_on(*replaying, plan);
            if (!plan.has_failed()) {
                EXPECT_EQ(results, GOOD);
                break;
            }
            EXPECT_EQ(results.back(), mwtrace::NO_MEMORY) << nth;
            const auto failed = std::find(results.begin(), results.end(), mwtrace::NO_MEMORY);
            EXPECT_TRUE(std::equal(results.begin(), failed, GOOD.begin())) << nth;
            EXPECT_TRUE(std::all_of(failed, results.end(), [&](const std::uint32_t& each) {
                return each == mwtrace::NO_MEMORY || &each == &results[ERROR_TEXT_AT];
            })) << nth;
            std::array<char, mwapi::ERROR_TEXT_SIZE> text{};
            EXPECT_EQ(plan.during([&] { return replaying->error_text(mwtrace::NO_MEMORY, text.data()); }),
                      0U);
            EXPECT_STREQ(text.data(), "no memory is left for the replay");
        } while (plan.has_failed());
        EXPECT_GT(nth, 100);
    }
}
} // namespace
