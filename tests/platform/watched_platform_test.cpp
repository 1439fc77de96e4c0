// SPDX-License-Identifier: Apache-2.0
// How far a load is, by the calls that pass.
#include "provider/watched_platform.h"

#include "provider/provider.h"

#include <gtest/gtest.h>

namespace
{
using mwapi::Function;
using mwapi::Functions;
using mwapi::LoadPhase;

std::uint32_t result = 0;
std::uint8_t status = 5;

/// Every function returns the result; a reply holds the status.
class Simple final : public mwapi::UniformPlatform<Simple>
{
public:
    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        return answer<function>(arguments...);
    }
    template <Function function, class... Parameters>
    static std::uint32_t answer(Parameters... arguments)
    {
        if constexpr (function == Function::MwKSBReceiveMessageDataEx)
            *static_cast<std::uint8_t*>(std::get<1>(std::tuple{arguments...})) = status;
        return result;
    }
    [[nodiscard]] const Functions* functions() const override { return &all; }
    [[nodiscard]] std::string_view announcement() const override { return "a test"; }
    [[nodiscard]] std::string_view version() const override { return "1.2"; }
    static constexpr Functions all = mwapi::functions_by<Simple>();
};

class WatchedPlatform : public testing::Test
{
protected:
    WatchedPlatform()
    {
        result = 0;
        status = 5;
    }

    void open()
    {
        MW_HANDLE* handle = nullptr;
        (void)platform.open("mwc4a", 0, "ksb", &handle, nullptr);
    }
    void start() { (void)platform.start_send(nullptr, 3, 2, 5000); }
    void end() { (void)platform.end_send(nullptr, 5000); }
    void reply()
    {
        std::uint8_t data[2] = {};
        std::uint32_t word = 0;
        (void)platform.start_receive(nullptr, &word, 5000);
        (void)platform.receive_data(nullptr, data, 2, &word, 5000);
    }
    void load()
    {
        open();
        start();
        end();
        reply();
        (void)platform.end_receive(nullptr, 5000);
    }

    mwapi::LoadWatch watch;
    mwapi::WatchedPlatform platform{std::make_unique<Simple>(), watch};
};

TEST_F(WatchedPlatform, NotesEachStepOfALoad)
{
    EXPECT_EQ(watch.phase, LoadPhase::none);
    open();
    EXPECT_EQ(watch.phase, LoadPhase::opened);
    start();
    EXPECT_EQ(watch.phase, LoadPhase::sending);
    EXPECT_EQ(watch.slot_address, 0x32U);
    (void)platform.send_data(nullptr, nullptr, 0, 5000);
    EXPECT_EQ(watch.phase, LoadPhase::sending);
    end();
    EXPECT_EQ(watch.phase, LoadPhase::sent);
    reply();
    EXPECT_EQ(watch.phase, LoadPhase::sent) << "the verdict counts when the reply has been ended";
    (void)platform.end_receive(nullptr, 5000);
    EXPECT_EQ(watch.phase, LoadPhase::accepted);
    EXPECT_EQ(watch.accepted, 1U);
    (void)platform.end_receive(nullptr, 5000);
    EXPECT_EQ(watch.accepted, 1U);
}

TEST_F(WatchedPlatform, NotesARefusal)
{
    load();
    status = 2;
    load();
    EXPECT_EQ(watch.phase, LoadPhase::refused);
    EXPECT_EQ(watch.accepted, 1U);
}

TEST_F(WatchedPlatform, CallsThatFailBeginNothing)
{
    result = 1;
    open();
    EXPECT_EQ(watch.phase, LoadPhase::none);
    result = 0;
    open();
    result = 1;
    start();
    EXPECT_EQ(watch.phase, LoadPhase::opened);
}

TEST_F(WatchedPlatform, TheVerdictIsUnknownWhenTheMessageOrTheReplyFails)
{
    open();
    start();
    result = 1;
    end();
    EXPECT_EQ(watch.phase, LoadPhase::sent);
    reply();
    (void)platform.end_receive(nullptr, 5000);
    EXPECT_EQ(watch.phase, LoadPhase::sent);
    EXPECT_EQ(watch.accepted, 0U);
}

TEST_F(WatchedPlatform, OnlyCallsThatBeginAndEndPassThroughIt)
{
    const Functions& own = *platform.functions();
    EXPECT_EQ(own.MwKSBSendMessageDataEx, Simple::all.MwKSBSendMessageDataEx);
    EXPECT_EQ(own.MwKSBSendMessageEx, Simple::all.MwKSBSendMessageEx);
    EXPECT_NE(own.MwKSBStartSendMessageEx, Simple::all.MwKSBStartSendMessageEx);
}

TEST_F(WatchedPlatform, PassesAnnouncementAndVersionOn)
{
    EXPECT_EQ(platform.announcement(), "a test");
    EXPECT_EQ(platform.version(), "1.2");
}
} // namespace
