// SPDX-License-Identifier: Apache-2.0
// Locks of buses: taken once, named, freed.
#include "run/bus_lock.h"

#include "errors/failure.h"
#include "support/files.h"
#include "support/special_files.h"
#include "support/temporary_folder.h"
#include "system/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace kvn
{
namespace
{
using testing::HasSubstr;

class BusLockTest : public testing::Test
{
protected:
    [[nodiscard]] std::variant<BusLock, BusHolder> take(const BoardName& bus = {"mwc4a", 0}) const
    {
        return BusLock::take(folder.path().string(), "", bus, "kvn run");
    }

    const TemporaryFolder folder;
};

TEST_F(BusLockTest, ASecondOneIsToldWhoHoldsIt)
{
    const auto first = take();
    ASSERT_TRUE(std::holds_alternative<BusLock>(first));
    const auto second = take();
    ASSERT_TRUE(std::holds_alternative<BusHolder>(second));
    const BusHolder& holder = std::get<BusHolder>(second);
    EXPECT_EQ(holder.process, std::to_string(system::own_process_id()));
    EXPECT_EQ(holder.program, "kvn run");
    EXPECT_THAT(holder.text(), HasSubstr("process " + std::to_string(system::own_process_id()) + " of "));
    EXPECT_THAT(holder.text(), HasSubstr(" (kvn run) since 2"));
}

TEST_F(BusLockTest, OtherBusesAreFree)
{
    const auto first = take();
    EXPECT_TRUE(std::holds_alternative<BusLock>(take({"mwc4a", 1})));
    EXPECT_TRUE(std::holds_alternative<BusLock>(take({"other", 0})));
}

TEST_F(BusLockTest, IsFreeAgainAfterwards)
{
    {
        const auto first = take();
    }
    EXPECT_TRUE(std::holds_alternative<BusLock>(take()));
}

TEST_F(BusLockTest, AFileWithoutSenseNamesNobody)
{
    const auto first = take();
    for (const auto& entry : std::filesystem::directory_iterator{folder.path()})
        write_whole_file(entry.path(), "{{{\x01");
    EXPECT_EQ(std::get<BusHolder>(take()).text(), "another process");
}

TEST_F(BusLockTest, TypesOfBoardsMakePlainNames)
{
    const auto first = take({"a.b%c", 7});
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "kvn-a%2eb%25c-7.lock"));
}

TEST_F(BusLockTest, WhatIsNoRegularFileIsRefused)
{
    make_fifo((folder.path() / "kvn-mwc4a-0.lock").string());
    EXPECT_THROW((void)take(), FailureError);
    std::filesystem::create_symlink("elsewhere", folder.path() / "kvn-mwc4a-1.lock");
    EXPECT_THROW((void)take({"mwc4a", 1}), FailureError);
}

TEST_F(BusLockTest, AFolderThatIsMissingIsAFailure)
{
    EXPECT_THROW((void)BusLock::take("/nowhere", "", {"mwc4a", 0}, "kvn run"), FailureError);
}

TEST(LockPrefix, BoardsThatNobodyElseReachesNeedNoLock)
{
    EXPECT_EQ(lock_prefix({.name = "libmwapi.so"}, nullptr), "");
    EXPECT_EQ(lock_prefix({.name = "virtual", .simulated = true}, nullptr), std::nullopt);
    EXPECT_EQ(lock_prefix({.name = "virtual", .simulated = true}, ""), std::nullopt);
}

TEST(LockPrefix, BoardsWithOneStateAreTheSame)
{
    const TemporaryFolder folder;
    const std::string path = folder.path().string();
    const ProviderIdentity provider{.name = "virtual", .simulated = true};
    EXPECT_EQ(lock_prefix(provider, path.c_str()), lock_prefix(provider, (path + "/.").c_str()));
    EXPECT_NE(lock_prefix(provider, path.c_str()), lock_prefix(provider, "/"));
}
} // namespace
} // namespace kvn
