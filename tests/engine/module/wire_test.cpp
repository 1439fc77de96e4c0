// SPDX-License-Identifier: Apache-2.0
// What passes between the library and the provider: counted, watched, cut off.
#include "module/wire.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace
{
using kvn::CANCELLED;
using kvn::ModuleState;
using kvn::Progress;
using mwapi::Function;
using mwapi::LoadPhase;
using Bytes = std::vector<std::uint8_t>;

/// Answers as planned, and notes which functions were called.
class Plan final : public mwapi::UniformPlatform<Plan>
{
public:
    template <Function function, class... Arguments>
    std::uint32_t call(Arguments... arguments)
    {
        called.push_back(mwapi::CALL<function>.name);
        const auto values = mwapi::values(arguments...);
        if constexpr (function == Function::MwErr2Text)
            mwapi::write_error_text("the provider's words", values[1].template pointer<char>());
        if constexpr (function == Function::MwKSBReceiveMessageDataEx)
            *values[1].template pointer<std::uint8_t>() = verdict;
        if constexpr (function == Function::MwKSBReceiveMessageEx) {
            values[1].write(type);
            for (std::uint8_t i = 0; i < 30; ++i)
                values[4].template pointer<std::uint8_t>()[i] = static_cast<std::uint8_t>(i + 100);
        }
        if constexpr (function == Function::MwGetBoardInfo)
            for (std::uint32_t i = 0; i < mwapi::BOARD_INFO_WORDS; ++i)
                values[2].template pointer<std::uint32_t>()[i] = 1000 + i;
        return results[mwapi::CALL<function>.name];
    }

    std::map<std::string, std::uint32_t> results;
    std::vector<std::string> called;
    std::uint8_t verdict = 5;
    std::uint8_t type = 2;
};

class Wire : public testing::Test
{
protected:
    Wire()
    {
        control.clocks.steady = [this] {
            return std::chrono::steady_clock::time_point{std::chrono::milliseconds{now}};
        };
    }

    std::uint32_t open()
    {
        MW_HANDLE* handle = nullptr;
        return wire().open("mwc4a", 0, "ksb", &handle, nullptr);
    }
    std::uint32_t start() { return wire().start_send(nullptr, 0, 2, 5000); }
    std::uint32_t send(const Bytes& data = Bytes(8))
    {
        return wire().send_data(nullptr, data.data(), static_cast<std::uint32_t>(data.size()), 5000);
    }
    std::uint32_t end() { return wire().end_send(nullptr, 5000); }
    std::uint32_t reply()
    {
        std::uint8_t data[2] = {};
        std::uint32_t word = 0;
        (void)wire().start_receive(nullptr, &word, 5000);
        (void)wire().receive_data(nullptr, data, 2, &word, 5000);
        return wire().end_receive(nullptr, 5000);
    }
    /// Made at its first use: a control is set up before.
    kvn::Wire& wire()
    {
        if (!wire_)
            wire_.emplace(plan, control);
        return *wire_;
    }

    Plan plan;
    kvn::LoadControl control;
    int now = 1000; ///< milliseconds

private:
    std::optional<kvn::Wire> wire_;
};

TEST_F(Wire, AnEmptyAnswerSaysNothing)
{
    plan.verdict = 0;
    (void)open();
    (void)start();
    (void)send();
    (void)end();
    EXPECT_EQ(reply(), 0U);
    EXPECT_TRUE(wire().has_empty_answer());
    EXPECT_EQ(wire().answer(), std::nullopt);
    EXPECT_EQ(wire().state(), kvn::ModuleState::unknown);
}

TEST_F(Wire, CountsWhatTheProviderTakes)
{
    EXPECT_EQ(open(), 0U);
    EXPECT_EQ(start(), 0U);
    EXPECT_EQ(send({13, 5}), 0U);
    EXPECT_EQ(send(), 0U);
    plan.results["MwKSBSendMessageDataEx"] = 7;
    EXPECT_EQ(send(), 7U);
    EXPECT_EQ(wire().bytes(), 10U);
    EXPECT_EQ(wire().data_calls(), 2U);
    EXPECT_EQ(control.progress().bytes, 10U);
    EXPECT_EQ(plan.called,
              (std::vector<std::string>{"MwOpenS", "MwKSBStartSendMessageEx", "MwKSBSendMessageDataEx",
                                        "MwKSBSendMessageDataEx", "MwKSBSendMessageDataEx"}));
}

TEST_F(Wire, KnowsTheModulesStateAtEachStep)
{
    EXPECT_EQ(wire().state(), ModuleState::untouched);
    (void)open();
    EXPECT_EQ(wire().state(), ModuleState::untouched);
    plan.results["MwKSBStartSendMessageEx"] = 1;
    (void)start();
    EXPECT_EQ(wire().state(), ModuleState::untouched);
    plan.results.clear();
    (void)start();
    EXPECT_EQ(wire().state(), ModuleState::interrupted);
    (void)end();
    EXPECT_EQ(wire().state(), ModuleState::unknown);
    EXPECT_EQ(wire().answer(), std::nullopt);
    (void)reply();
    EXPECT_EQ(wire().state(), ModuleState::configured);
    EXPECT_EQ(wire().answer(), 5);
}

TEST_F(Wire, KnowsARefusal)
{
    plan.verdict = 2;
    (void)start();
    (void)end();
    (void)reply();
    EXPECT_EQ(wire().phase(), LoadPhase::refused);
    EXPECT_EQ(wire().state(), ModuleState::refused);
    EXPECT_EQ(wire().answer(), 2);
}

TEST_F(Wire, MeasuresTheMessageFromBeginningToEnd)
{
    EXPECT_EQ(wire().seconds(), std::nullopt);
    (void)start();
    EXPECT_EQ(wire().seconds(), std::nullopt);
    now += 2500;
    (void)send();
    (void)end();
    now += 9000;
    (void)reply();
    EXPECT_EQ(wire().seconds(), 2.5);
    EXPECT_EQ(control.progress().seconds, 2.5) << "no time passes after the end";
}

TEST_F(Wire, MeasuresUpToAFailedCall)
{
    (void)start();
    now += 500;
    plan.results["MwKSBSendMessageDataEx"] = 7;
    (void)send();
    now += 500;
    EXPECT_EQ(wire().seconds(), 0.5);
}

TEST_F(Wire, ReportsTheFirstBytesEachStepAndTheEnd)
{
    std::vector<std::uint64_t> reported;
    control.on_progress = [&](const Progress& progress) { reported.push_back(progress.bytes); };
    control.progress_step = 20;
    (void)start();
    (void)send({3, 5});
    for (int i = 0; i < 6; ++i)
        (void)send();
    EXPECT_EQ(reported, (std::vector<std::uint64_t>{2, 26, 50}));
    (void)send({1});
    (void)end();
    EXPECT_EQ(reported, (std::vector<std::uint64_t>{2, 26, 50, 51}));
}

TEST_F(Wire, ReportsTheEndOnlyOnce)
{
    std::vector<std::uint64_t> reported;
    control.on_progress = [&](const Progress& progress) { reported.push_back(progress.bytes); };
    control.progress_step = 0;
    (void)start();
    (void)send();
    (void)send();
    (void)end();
    EXPECT_EQ(reported, (std::vector<std::uint64_t>{8, 16}));
}

TEST_F(Wire, ReportsRateAndTime)
{
    Progress last;
    control.on_progress = [&](const Progress& progress) { last = progress; };
    (void)start();
    (void)send();
    EXPECT_EQ(last.bytes_per_second, std::nullopt) << "no time has passed";
    EXPECT_EQ(last.seconds_left, std::nullopt);
    now += 4000;
    (void)send();
    (void)end();
    EXPECT_EQ(last.seconds, 4.0);
    EXPECT_EQ(last.bytes_per_second, 4.0);
    EXPECT_EQ(last.total, std::nullopt);
    EXPECT_EQ(last.seconds_left, std::nullopt) << "the total is not known";
}

TEST_F(Wire, HandsOnTheExactBytes)
{
    Bytes sent;
    int reports = 0;
    control.on_sent = [&](std::span<const std::uint8_t> bytes) {
        sent.insert(sent.end(), bytes.begin(), bytes.end());
    };
    control.on_progress = [&](const Progress&) { ++reports; };
    control.progress_step = 8;
    (void)start();
    (void)send({3, 5});
    (void)send({1, 2, 3, 4});
    (void)send({5, 6, 7, 8});
    plan.results["MwKSBSendMessageDataEx"] = 7;
    (void)send({9});
    EXPECT_EQ(sent, (Bytes{3, 5, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(reports, 2);
}

TEST_F(Wire, CancelledStopsTheNextCallThatSends)
{
    control.cancel();
    EXPECT_EQ(open(), 0U) << "what sends nothing goes on";
    EXPECT_EQ(start(), CANCELLED);
    EXPECT_EQ(send(), CANCELLED);
    EXPECT_EQ(end(), CANCELLED);
    EXPECT_EQ(reply(), 0U);
    EXPECT_TRUE(wire().was_cancelled());
    EXPECT_EQ(wire().state(), ModuleState::untouched);
    EXPECT_EQ(wire().seconds(), std::nullopt);
    EXPECT_EQ(plan.called,
              (std::vector<std::string>{"MwOpenS", "MwKSBStartReceiveMessageEx", "MwKSBReceiveMessageDataEx",
                                        "MwKSBEndOfReceiveMessageEx"}));
}

TEST_F(Wire, CancelledBeforeTheEndLeavesTheMessageOpen)
{
    (void)start();
    (void)send();
    EXPECT_FALSE(wire().was_cancelled());
    control.cancel();
    now += 1000;
    EXPECT_EQ(end(), CANCELLED);
    EXPECT_EQ(wire().state(), ModuleState::interrupted);
    EXPECT_EQ(wire().seconds(), 1.0);
    EXPECT_EQ(plan.called.back(), "MwKSBSendMessageDataEx");
}

TEST_F(Wire, CancelledFromTheLastReportDoesNotEndTheMessage)
{
    control.on_progress = [&](const Progress& progress) {
        if (progress.bytes == 16)
            control.cancel();
    };
    (void)start();
    (void)send();
    EXPECT_EQ(send(), 0U);
    EXPECT_EQ(end(), CANCELLED);
}

TEST_F(Wire, HasWordsForItsOwnCodeAlone)
{
    char text[mwapi::ERROR_TEXT_SIZE];
    (void)wire().error_text(CANCELLED, text);
    EXPECT_STREQ(text, "the provider's words") << "nothing was cancelled";
    control.cancel();
    (void)send();
    EXPECT_EQ(wire().error_text(CANCELLED, text), 0U);
    EXPECT_STREQ(text, "the load was cancelled");
    (void)wire().error_text(7, text);
    EXPECT_STREQ(text, "the provider's words");
}

TEST_F(Wire, SeesTheIdentificationRecordAndTheBoardsInformation)
{
    std::uint8_t type = 0;
    std::uint8_t data[30] = {};
    std::uint32_t received = 0;
    const auto receive = [&] { (void)wire().receive_ex(nullptr, &type, 0, 2, data, 30, &received, 5000); };
    std::uint32_t record[mwapi::BOARD_INFO_WORDS] = {};
    plan.type = 12;
    receive();
    EXPECT_EQ(wire().identification(), std::nullopt) << "another reply";
    plan.type = 2;
    plan.results["MwKSBReceiveMessageEx"] = 7;
    receive();
    EXPECT_EQ(wire().identification(), std::nullopt) << "a failed one";
    plan.results.clear();
    receive();
    ASSERT_TRUE(wire().identification());
    EXPECT_EQ(wire().identification()->front(), 100);
    EXPECT_EQ(wire().identification()->back(), 129);

    (void)wire().board_info("mwc4a", 0, record);
    ASSERT_TRUE(wire().info());
    EXPECT_EQ(wire().info()->front(), 1000U);
    EXPECT_EQ(wire().info()->back(), 1020U);
    wire().forget_slot();
    EXPECT_EQ(wire().info(), std::nullopt);
    EXPECT_EQ(wire().identification(), std::nullopt);
    (void)wire().board_info("mwc4a", 0, record);
    plan.results["MwGetBoardInfo"] = 7;
    (void)wire().board_info("mwc4a", 0, record);
    EXPECT_EQ(wire().info(), std::nullopt);
}
} // namespace
