// SPDX-License-Identifier: Apache-2.0
// Allocations fail, each in turn, while calls are recorded and replayed.
#include "recording_platform.h"
#include "replaying_platform.h"
#include "trace_support.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

namespace
{
/// Which allocations of this thread fail: none while it is 0, otherwise counted down to the first one.
thread_local std::size_t allocations_left = 0;
thread_local bool all_later_fail = false;
thread_local bool one_has_failed = false;

/// Lets allocations fail during a call, not in the test around it.
thread_local bool in_call = false;

bool fails_now()
{
    if (!in_call)
        return false;
    if (one_has_failed)
        return all_later_fail;
    one_has_failed = allocations_left != 0 && --allocations_left == 0;
    return one_has_failed;
}

void* allocate(std::size_t size)
{
    void* memory = fails_now() ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc{};
    return memory;
}
} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}
void* operator new[](std::size_t size)
{
    return allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace
{
using mwapi::Platform;

constexpr std::size_t CALLS_OF_A_RUN = 15;
constexpr std::size_t ERROR_TEXT_AT = 2; // of these calls
using Results = std::array<std::uint32_t, CALLS_OF_A_RUN>;

template <class Action>
auto with_faults(Action action)
{
    in_call = true;
    auto result = action();
    in_call = false;
    return result;
}

void plan_fault(std::size_t nth, bool later_too)
{
    allocations_left = nth;
    all_later_fail = later_too;
    one_has_failed = false;
}

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
Results run_on(Platform& platform)
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
    const auto call = [&](auto action) { results.at(next++) = with_faults(action); };
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
    ~Memory() override { plan_fault(0, false); }

    /// Records a run with a fault. @return what was reported
    std::string record() const
    {
        testing::internal::CaptureStderr();
        {
            CountingPlatform counting;
            mwtrace::Recorder recorder{path("trace"), "test"};
            mwtrace::RecordingPlatform recording{counting, recorder};
            EXPECT_EQ(run_on(recording), GOOD);
            EXPECT_EQ(counting.calls, CALLS_OF_A_RUN);
            (void)with_faults([&] {
                recorder.attempt([&] { recorder.flush(); });
                return 0;
            });
        }
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(Memory, WithoutItARecordingEndsAndEveryCallIsMade)
{
    const std::string told =
        "mwtrace: cannot write " + path("trace") + ": no memory is left; the run goes on unrecorded\n";
    for (const bool later_too : {false, true}) {
        std::size_t nth = 0;
        do {
            plan_fault(++nth, later_too);
            const std::string reported = record();
            EXPECT_EQ(reported, one_has_failed ? told : "") << nth;
        } while (one_has_failed);
        EXPECT_GT(nth, 100U);
    }
}

TEST_F(Memory, WithoutItARecordingCannotBeginAndIsReported)
{
    ASSERT_EQ(setenv("KVN_TEST_TRACE", path("trace").c_str(), 1), 0);
    std::size_t nth = 0;
    do {
        plan_fault(++nth, true);
        testing::internal::CaptureStderr();
        const auto recorder =
            with_faults([] { return mwtrace::recorder_from_environment("KVN_TEST_TRACE", "test"); });
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  one_has_failed ? "mwtrace: cannot write " + path("trace") +
                                       ": no memory is left; the run goes on unrecorded\n"
                                 : "")
            << nth;
    } while (one_has_failed);
    EXPECT_GT(nth, 3U);
    (void)unsetenv("KVN_TEST_TRACE");
}

TEST_F(Memory, WithoutItAReplayAnswersACodeWithAText)
{
    EXPECT_EQ(record(), "");
    const std::string trace = path("trace");
    for (const bool later_too : {false, true}) {
        std::size_t nth = 0;
        do {
            plan_fault(++nth, later_too);
            std::optional<mwtrace::ReplayingPlatform> replaying;
            (void)with_faults([&] { return &replaying.emplace(trace); });
            const Results results = run_on(*replaying);
            if (!one_has_failed) {
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
            EXPECT_EQ(with_faults([&] { return replaying->error_text(mwtrace::NO_MEMORY, text.data()); }),
                      0U);
            EXPECT_STREQ(text.data(), "no memory is left for the replay");
        } while (one_has_failed);
        EXPECT_GT(nth, 100U);
    }
}
} // namespace
