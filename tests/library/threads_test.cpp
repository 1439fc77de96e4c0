// SPDX-License-Identifier: Apache-2.0
// Sessions in several threads, and what other threads may do with one.
#include "library_fixture.h"
#include "support/meeting.h"

#include <array>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr std::uint16_t LOADS = 8;

class Threads : public LibraryTest
{
protected:
    /// Calls a function on another thread, from the progress function of a load of board 0, at its first
    /// report.
    template <class Function>
    int load_and_meanwhile(Function function, kvn_record& record)
    {
        struct Meanwhile {
            Function& function;
            bool called = false;
        } meanwhile{function};
        auto options = load_options();
        options.user_data = &meanwhile;
        options.progress = [](void* data, const kvn_progress_info*) {
            auto& once = *static_cast<Meanwhile*>(data);
            if (!std::exchange(once.called, true))
                std::thread{[&] { once.function(); }}.join();
            return 0;
        };
        const int status = kvn_load(*session, file, &options, &record);
        EXPECT_TRUE(meanwhile.called);
        return status;
    }

    void SetUp() override
    {
        add_module(0);
        session = std::make_unique<Session>();
        open_file(*session);
    }

    std::unique_ptr<Session> session;
};

/// All loads wait here, each in the middle of its message.
Meeting all_loading{LOADS};

int wait_for_the_others(void* waited, const kvn_progress_info* /*progress*/)
{
    if (!std::exchange(*static_cast<bool*>(waited), true))
        all_loading.arrive_and_wait();
    return 0;
}

TEST_F(Threads, LoadEightBoardsAtTheSameTime)
{
    for (std::uint16_t board = 1; board < LOADS; ++board)
        add_module(board);
    std::array<int, LOADS> statuses{};
    std::vector<std::thread> threads;
    for (std::uint16_t board = 0; board < LOADS; ++board)
        threads.emplace_back([this, board, &statuses] {
            const Session mine;
            const std::string module = "mwc4a:" + std::to_string(board) + "/1";
            bool waited = false;
            auto options = sized<kvn_load_options>();
            options.module = module.c_str();
            options.progress = wait_for_the_others;
            options.user_data = &waited;
            auto record = sized<kvn_record>();
            statuses[board] = kvn_load(mine, file, &options, &record);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (std::uint16_t board = 0; board < LOADS; ++board) {
        EXPECT_EQ(statuses[board], KVN_DONE);
        EXPECT_EQ(carrier.contents("mwc4a", board, 1).configuration, fpga::reverse_each(stream));
    }
    EXPECT_EQ(carrier.misuse(), std::vector<std::string>{});
}

TEST_F(Threads, CancelALoadOfAnotherThread)
{
    auto record = sized<kvn_record>();
    const int status = load_and_meanwhile([&] { EXPECT_EQ(kvn_cancel(*session), KVN_DONE); }, record);
    EXPECT_EQ(status, KVN_CANCELLED);
    EXPECT_EQ(record.verdict, KVN_VERDICT_CANCELLED);
    EXPECT_EQ(record.state, KVN_STATE_INTERRUPTED);
    EXPECT_FALSE(carrier.contents("mwc4a", 0, 1).done);
    const auto options = load_options();
    EXPECT_EQ(kvn_load(*session, file, &options, &record), KVN_DONE) << "a cancellation ends with its load";
}

TEST_F(Threads, PollALoadOfAnotherThread)
{
    auto progress = sized<kvn_progress_info>();
    auto record = sized<kvn_record>();
    EXPECT_EQ(load_and_meanwhile([&] { EXPECT_EQ(kvn_progress(*session, &progress), KVN_DONE); }, record),
              KVN_DONE);
    EXPECT_EQ(progress.is_running, 1);
    EXPECT_GT(progress.bytes, 0U);
    EXPECT_EQ(progress.total, record.wire_bytes);
    EXPECT_EQ(kvn_progress(*session, &progress), KVN_DONE);
    EXPECT_EQ(progress.is_running, 0);
    EXPECT_EQ(static_cast<std::int64_t>(progress.bytes), record.wire_bytes);
}

TEST_F(Threads, RefuseASecondCallInASession)
{
    auto record = sized<kvn_record>();
    const int status = load_and_meanwhile(
        [&] {
            EXPECT_EQ(kvn_list(*session, "mwc4a", 0), KVN_USAGE);
            EXPECT_STREQ(kvn_error_text(nullptr), "another call is running in this session");
            EXPECT_STREQ(kvn_error_text(*session), "another call is running in this session");
            EXPECT_EQ(kvn_close(*session), KVN_USAGE);
        },
        record);
    EXPECT_EQ(status, KVN_DONE);
    EXPECT_STREQ(kvn_error_text(*session), "");
}

TEST_F(Threads, CancelAndPollWhileASessionIsClosed)
{
    for (int i = 0; i < 50; ++i) {
        kvn_session* closing = nullptr;
        ASSERT_EQ(kvn_open(&closing), KVN_DONE);
        Meeting begin{2};
        std::thread other{[&] {
            auto progress = sized<kvn_progress_info>();
            begin.arrive_and_wait();
            EXPECT_EQ(kvn_cancel(closing), KVN_USAGE);
            const int status = kvn_progress(closing, &progress);
            EXPECT_TRUE(status == KVN_DONE || status == KVN_USAGE);
        }};
        begin.arrive_and_wait();
        EXPECT_EQ(kvn_close(closing), KVN_DONE);
        other.join();
    }
}

TEST_F(Threads, ReadOneFileInManySessions)
{
    std::array<std::array<char, KVN_DIGEST_SIZE>, LOADS> digests{};
    std::vector<std::thread> threads;
    for (auto& digest : digests)
        threads.emplace_back([this, &digest] {
            const Session mine;
            EXPECT_EQ(kvn_digest(mine, file, digest.data(), digest.size()), KVN_DONE);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& digest : digests)
        EXPECT_EQ(digest, digests.front());
}
} // namespace
