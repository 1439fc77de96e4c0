// SPDX-License-Identifier: Apache-2.0
// The sixteen functions lead to the installed platform, and nothing but a code comes back from one that
// throws.
#include "mwapi_forward.h"
#include "uniform_platform.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{
using mwapi::Function;
using mwapi::Functions;
using mwapi::Platform;
using mwapi::PLATFORM_THREW;

/// Returns a number for each function, and keeps the names of those called.
class NamingPlatform : public mwapi::UniformPlatform<NamingPlatform>
{
public:
    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... /*arguments*/)
    {
        called.emplace_back(mwapi::describe(function).name);
        return 100 + static_cast<std::uint32_t>(function);
    }
    std::vector<std::string> called;
};

/// Has functions of its own.
class BoundPlatform final : public NamingPlatform
{
public:
    [[nodiscard]] const Functions* functions() const override
    {
        static constexpr Functions all = mwapi::functions_by<BoundPlatform>();
        return &all;
    }
    template <Function function, class... Parameters>
    static std::uint32_t answer(Parameters... /*arguments*/)
    {
        return 200 + static_cast<std::uint32_t>(function);
    }
};

class ThrowingPlatform final : public mwapi::UniformPlatform<ThrowingPlatform>
{
public:
    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... /*arguments*/)
    {
        if (throws_a_number)
            throw 7;
        throw std::runtime_error{std::string{mwapi::describe(function).name} + " broke"};
    }
    bool throws_a_number = false;
};

/// What the program has when nothing is installed; null: asking for it throws.
Platform* of_program = nullptr;
int asked = 0;

std::string error_text(std::uint32_t code)
{
    char text[mwapi::ERROR_TEXT_SIZE] = "nothing";
    MwErr2Text(code, text);
    return text;
}

/// The results of all sixteen functions, in their order.
std::vector<std::uint32_t> results()
{
    MW_HANDLE* handle = nullptr;
    std::uint32_t word = 0;
    std::uint16_t number = 0;
    std::uint8_t type = 0;
    char text[mwapi::ERROR_TEXT_SIZE];
    std::uint32_t record[mwapi::BOARD_INFO_WORDS] = {};
    return {MwOpenS("mwc4a", 0, "ksb", &handle, &word),
            MwClose(&handle),
            MwErr2Text(1, text),
            MwGetBoardInfo("mwc4a", 0, record),
            MwGetDeviceInfo(handle, text, &number, &word),
            MwInitIoStatus(handle, &word),
            MwKSBSendMessage(handle, 1, 1, nullptr, 0, 5000),
            MwKSBReceiveMessage(handle, &type, 1, text, 30, &word, 5000),
            MwKSBSendMessageEx(handle, 1, 0, 1, nullptr, 0, 5000),
            MwKSBReceiveMessageEx(handle, &type, 0, 1, text, 30, &word, 5000),
            MwKSBStartSendMessageEx(handle, 0, 1, 5000),
            MwKSBSendMessageDataEx(handle, text, 2, 5000),
            MwKSBEndOfSendMessageEx(handle, 5000),
            MwKSBStartReceiveMessageEx(handle, &word, 5000),
            MwKSBReceiveMessageDataEx(handle, text, 2, &word, 5000),
            MwKSBEndOfReceiveMessageEx(handle, 5000)};
}

std::vector<std::uint32_t> numbers_from(std::uint32_t first)
{
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < mwapi::FUNCTION_COUNT; ++i)
        numbers.push_back(first + i);
    return numbers;
}

class Forward : public testing::Test
{
protected:
    ~Forward() override
    {
        mwapi::uninstall();
        of_program = nullptr;
        asked = 0;
    }
};

TEST_F(Forward, EachFunctionCallsItsOperationOfTheInstalledPlatform)
{
    NamingPlatform platform;
    mwapi::install(platform);
    EXPECT_EQ(results(), numbers_from(100));
    ASSERT_EQ(platform.called.size(), mwapi::FUNCTION_COUNT);
    for (std::size_t i = 0; i < mwapi::FUNCTION_COUNT; ++i)
        EXPECT_EQ(platform.called[i], mwapi::DESCRIPTIONS[i].name);
    EXPECT_EQ(asked, 0);
}

TEST_F(Forward, FunctionsOfAPlatformAreCalledDirectly)
{
    BoundPlatform platform;
    mwapi::install(platform);
    EXPECT_EQ(results(), numbers_from(200));
    EXPECT_TRUE(platform.called.empty());
}

TEST_F(Forward, TheProgramIsAskedForItsPlatformAtTheFirstCall)
{
    NamingPlatform platform;
    of_program = &platform;
    EXPECT_EQ(results(), numbers_from(100));
    EXPECT_EQ(asked, 1);
    mwapi::uninstall();
    EXPECT_EQ(results(), numbers_from(100));
    EXPECT_EQ(asked, 2);
}

TEST_F(Forward, APlatformInstalledBeforeTheFirstCallIsTheOneCalled)
{
    NamingPlatform other;
    of_program = &other;
    BoundPlatform platform;
    mwapi::install(platform);
    EXPECT_EQ(results(), numbers_from(200));
    EXPECT_EQ(asked, 0);
}

TEST_F(Forward, AnExceptionBecomesACodeWhoseTextItGives)
{
    ThrowingPlatform platform;
    mwapi::install(platform);
    std::vector<std::uint32_t> expected(mwapi::FUNCTION_COUNT, PLATFORM_THREW);
    expected[static_cast<std::size_t>(Function::MwErr2Text)] = 0;
    EXPECT_EQ(results(), expected);
    EXPECT_EQ(MwKSBEndOfSendMessageEx(nullptr, 5000), PLATFORM_THREW);
    EXPECT_EQ(error_text(PLATFORM_THREW), "MwKSBEndOfSendMessageEx broke");
    EXPECT_EQ(error_text(1), "MwErr2Text broke") << "the platform's own words cannot be had";
    platform.throws_a_number = true;
    EXPECT_EQ(MwKSBEndOfSendMessageEx(nullptr, 5000), PLATFORM_THREW);
    EXPECT_EQ(error_text(PLATFORM_THREW), "the platform threw what is no standard exception");
}

TEST_F(Forward, TheTextOfAnExceptionBelongsToItsThread)
{
    ThrowingPlatform platform;
    mwapi::install(platform);
    MwKSBEndOfSendMessageEx(nullptr, 5000);
    std::thread{[] { MwClose(nullptr); }}.join();
    EXPECT_EQ(error_text(PLATFORM_THREW), "MwKSBEndOfSendMessageEx broke");
}

TEST_F(Forward, AProgramThatCannotGiveItsPlatformIsAFailedCall)
{
    EXPECT_EQ(MwClose(nullptr), PLATFORM_THREW);
    EXPECT_EQ(error_text(PLATFORM_THREW), "no platform");
    NamingPlatform platform;
    of_program = &platform;
    EXPECT_EQ(MwClose(nullptr), 101U) << "the next call asks again";
}
} // namespace

mwapi::Platform& mwapi::program_platform()
{
    ++asked;
    if (of_program == nullptr)
        throw std::runtime_error{"no platform"};
    return *of_program;
}
