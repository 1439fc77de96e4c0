// SPDX-License-Identifier: Apache-2.0
// Whether files can have been written by anybody but those who may.
#include "system/ownership.h"

#include "support/folder_test.h"
#include "system/descriptor.h"
#include "system/file.h"

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using Ownership = FolderTest;

TEST_F(Ownership, OfAFileIsThatOfWhoHasMadeIt)
{
    const Descriptor file{create_new(path("file"), true)};
    ASSERT_TRUE(file.is_open());
    EXPECT_EQ(fault_of_ownership(file.number(), own_user()), std::nullopt);
}

TEST_F(Ownership, OfSomethingThatIsNotOpenCannotBeRead)
{
    EXPECT_EQ(fault_of_ownership(-1, own_user()), "its owner cannot be read");
}

TEST_F(Ownership, OfAMissingFolderIsNoFault)
{
    EXPECT_EQ(fault_of_folder(path("none/file"), ADMINISTRATOR), std::nullopt);
}
} // namespace
