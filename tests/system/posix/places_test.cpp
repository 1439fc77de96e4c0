// SPDX-License-Identifier: Apache-2.0
// Where a system keeps what belongs to all users.
#include "system/places.h"

#include "system/file.h"

#include <gtest/gtest.h>

namespace
{

TEST(Places, OfTheAdministratorsFilesIsEtc)
{
    EXPECT_EQ(kvn::system::administrators_file("kvn.toml"), "/etc/kvn.toml");
}

TEST(Places, OfLocksCanBeWrittenTo)
{
    EXPECT_EQ(kvn::system::try_folder(kvn::system::shared_lock_folder()), 0);
}
} // namespace
