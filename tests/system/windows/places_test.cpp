// SPDX-License-Identifier: Apache-2.0
// Where a system keeps what belongs to all users.
#include "system/places.h"

#include "support/environment.h"
#include "system/file.h"
#include "system/lock_file.h"

#include <gtest/gtest.h>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested

/// With variables that lead elsewhere.
class Places : public testing::Test
{
protected:
    Places()
    {
        program_data_.set("C:\\elsewhere");
        all_users_.set("C:\\elsewhere");
    }

private:
    EnvironmentVariable program_data_{"ProgramData"};
    EnvironmentVariable all_users_{"ALLUSERSPROFILE"};
};

TEST_F(Places, OfTheAdministratorsFilesIsTheFolderOfProgramDataWhateverTheEnvironmentSays)
{
    EXPECT_EQ(administrators_file("kvn.toml"), "C:\\ProgramData\\kvn\\kvn.toml");
}

TEST_F(Places, OfLocksIsMadeForAllUsers)
{
    const std::string folder = shared_lock_folder();
    EXPECT_EQ(folder, "C:\\ProgramData\\kvn-locks");
    EXPECT_EQ(kind_of(folder), FileKind::folder);
    EXPECT_EQ(shared_lock_folder(), folder) << "also when it is there";
    EXPECT_EQ(take_lock_file(open_lock_file(folder + "\\system_tests")), 0);
    EXPECT_EQ(remove_file(folder + "\\system_tests"), 0);
}

TEST_F(Places, OfLocksIsNotTheOneOfTheAdministratorsFiles)
{
    EXPECT_FALSE(administrators_file("kvn.toml").starts_with(shared_lock_folder() + "\\"));
}
} // namespace
