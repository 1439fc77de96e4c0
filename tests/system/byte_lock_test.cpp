// SPDX-License-Identifier: Apache-2.0
// Numbered locks of an open file.
#include "system/byte_lock.h"

#include "support/folder_test.h"
#include "system/file.h"
#include "system/folder.h"

#include <gtest/gtest.h>

#include <future>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested

class ByteLock : public FolderTest
{
protected:
    [[nodiscard]] Descriptor opened() const
    {
        return held_.open("file", Folder::Access::writes_too, Folder::Missing::is_created);
    }

private:
    Folder held_{folder.string()};
};

TEST_F(ByteLock, IsHeldByOneOpening)
{
    Descriptor first = opened();
    const Descriptor second = opened();
    EXPECT_FALSE(is_locked(second.number(), 1));
    EXPECT_TRUE(try_lock(first.number(), 1));
    EXPECT_FALSE(try_lock(second.number(), 1));
    EXPECT_TRUE(is_locked(second.number(), 1));
    EXPECT_TRUE(try_lock(second.number(), 0)) << "another lock";
    first.close();
    EXPECT_FALSE(is_locked(second.number(), 1)) << "it has ended with its opening";
}

TEST_F(ByteLock, IsSharedByThoseWhoWantIt)
{
    const Descriptor first = opened();
    const Descriptor second = opened();
    EXPECT_EQ(wait_for_lock(first.number(), 0, false), 0);
    EXPECT_EQ(wait_for_lock(second.number(), 0, false), 0);
    EXPECT_FALSE(try_lock(opened().number(), 0));
}

TEST_F(ByteLock, IsWaitedFor)
{
    const Descriptor first = opened();
    const Descriptor second = opened();
    ASSERT_EQ(wait_for_lock(first.number(), 0, true), 0);
    auto waiting =
        std::async(std::launch::async, [&second] { return wait_for_lock(second.number(), 0, true); });
    unlock(first.number(), 0);
    EXPECT_EQ(waiting.get(), 0);
    EXPECT_TRUE(is_locked(first.number(), 0));
}

TEST_F(ByteLock, LeavesTheContentAlone)
{
    const Descriptor first = opened();
    const Descriptor second = opened();
    ASSERT_TRUE(try_lock(first.number(), 0));
    ASSERT_TRUE(try_lock(first.number(), 1));
    const std::array<std::uint8_t, 3> bytes{1, 2, 3};
    EXPECT_TRUE(write_all_at(second, bytes, 0));
    std::array<std::uint8_t, 4> read{};
    EXPECT_EQ(read_all_at(second, read, 0), 3U);
    EXPECT_EQ(read, (std::array<std::uint8_t, 4>{1, 2, 3, 0}));
}

} // namespace
