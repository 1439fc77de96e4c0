// SPDX-License-Identifier: Apache-2.0
// The files of one folder, by plain names.
#include "system/folder.h"

#include "support/folder_test.h"
#include "system/path_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <future>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using SystemFolder = FolderTest;
using Access = Folder::Access;
using Missing = Folder::Missing;

TEST_F(SystemFolder, ThatIsMissingOrAFileIsNotOpened)
{
    write("file", "");
    EXPECT_FALSE(Folder{path("none")}.is_open());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(Folder{path("file")}.is_open());
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(SystemFolder, TellsTheNamesAndKindsInIt)
{
    std::filesystem::create_directory(folder / "folder");
    const Folder held{folder.string()};
    EXPECT_TRUE(held.create("st\u00E4tte").is_open());
    EXPECT_THAT(held.names(),
                testing::Optional(testing::UnorderedElementsAre(".", "..", "folder", "st\u00E4tte")));
    EXPECT_EQ(held.kind_of("st\u00E4tte"), Folder::Kind::plain);
    EXPECT_EQ(held.kind_of("folder"), Folder::Kind::other);
    EXPECT_EQ(held.kind_of("none"), Folder::Kind::missing);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SystemFolder, DistinguishesFilesThatHaveTwoNames)
{
    write("file", "");
    std::filesystem::create_hard_link(folder / "file", folder / "second");
    const Folder held{folder.string()};
    EXPECT_EQ(held.kind_of("file"), Folder::Kind::other);
    EXPECT_EQ(Folder::kind_of(held.open("second", Access::reads, Missing::is_nothing)), Folder::Kind::other);
}

TEST_F(SystemFolder, MakesFilesOnlyWhenAsked)
{
    const Folder held{folder.string()};
    EXPECT_FALSE(held.open("file", Access::writes_too, Missing::is_nothing).is_open());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(held.create("file").is_open());
    EXPECT_FALSE(held.create("file").is_open());
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(held.remove("file"), 0);
    EXPECT_EQ(held.remove("file"), ENOENT);
}

TEST_F(SystemFolder, ReplacesAFileThatSomebodyReads)
{
    write("old", "old");
    write("new", "new\n");
    const Folder held{folder.string()};
    Descriptor old = held.open("old", Access::reads, Missing::is_nothing);
    auto renaming = std::async(std::launch::async, [&held] { return held.rename("new", "old"); });
    EXPECT_EQ(size_of(old), 3U);
    old.close();
    EXPECT_EQ(renaming.get(), 0);
    EXPECT_EQ(content("old"), "new\n");
    EXPECT_EQ(held.rename("none", "old"), ENOENT);
}

TEST_F(SystemFolder, WritesAndReadsAtPlaces)
{
    const Folder held{folder.string()};
    const Descriptor file = held.open("file", Access::writes_too, Missing::is_created);
    const std::array<std::uint8_t, 4> bytes{'\r', '\n', 0x1A, 'x'};
    EXPECT_TRUE(write_all_at(file, bytes, 2));
    EXPECT_EQ(size_of(file), 6U);
    std::array<std::uint8_t, 9> read{};
    EXPECT_EQ(read_all_at(file, read, 1), 5U);
    EXPECT_EQ(read, (std::array<std::uint8_t, 9>{0, '\r', '\n', 0x1A, 'x'}));
    EXPECT_EQ(read_all_at(file, read, 6), 0U);
}

TEST(PathText, HasALastComponent)
{
    EXPECT_EQ(last_component("design.bit"), "design.bit");
    EXPECT_EQ(last_component("/boards/a/design.bit"), "design.bit");
    EXPECT_EQ(last_component("boards/"), "");
    const bool has_backslashes = std::filesystem::path{"a\\b"}.has_parent_path();
    EXPECT_EQ(last_component("C:\\boards/a\\design.bit"), has_backslashes ? "design.bit" : "a\\design.bit");
}

TEST(PathText, IsUtf8InBothDirections)
{
    EXPECT_EQ(text_of(path_of("st\u00E4tte/\u65E5.bit").filename()), "\u65E5.bit");
    EXPECT_EQ(path_of("\u00E4").native().size(), std::filesystem::path{u8"\u00E4"}.native().size());
}

} // namespace
