// SPDX-License-Identifier: Apache-2.0
// Files that exist to be locked.
#include "system/lock_file.h"

#include "support/folder_test.h"
#include "system/file.h"

#include <cerrno>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using LockFile = FolderTest;

TEST_F(LockFile, IsHeldByOneDescriptor)
{
    Descriptor first = open_lock_file(path("lock"));
    ASSERT_TRUE(first.is_open());
    EXPECT_EQ(take_lock_file(first), 0);
    const Descriptor second = open_lock_file(path("lock"));
    ASSERT_TRUE(second.is_open());
    EXPECT_EQ(take_lock_file(second), EWOULDBLOCK);
    first.close();
    EXPECT_EQ(take_lock_file(second), 0) << "it has ended with its descriptor";
}

TEST_F(LockFile, SaysWhoHoldsItToThoseWhoDoNot)
{
    const Descriptor holder = open_lock_file(path("lock"));
    ASSERT_EQ(take_lock_file(holder), 0);
    rewrite(holder, "process 4711\n");
    EXPECT_EQ(content("lock"), "process 4711\n");
    rewrite(holder, "process 8\n");
    const Descriptor other = open_lock_file(path("lock"));
    std::string text(100, ' ');
    text.resize(read_at(other.number(), text, 0).value_or(0));
    EXPECT_EQ(text, "process 8\n") << "nothing of the longer text is left";
}

TEST_F(LockFile, KeepsItsContentWhenItIsOpened)
{
    write("lock", "process 4711\n");
    EXPECT_TRUE(open_lock_file(path("lock")).is_open());
    EXPECT_EQ(content("lock"), "process 4711\n");
}

TEST_F(LockFile, IsNotMadeInAFolderThatIsMissing)
{
    EXPECT_FALSE(open_lock_file(path("none/lock")).is_open());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(LockFile, IsNoFolder)
{
    EXPECT_FALSE(open_lock_file(folder.string()).is_open());
}
} // namespace
