// SPDX-License-Identifier: Apache-2.0
// Files by their names and descriptors.
#include "system/file.h"

#include "support/folder_test.h"
#include "system/descriptor.h"
#include "system/writing_lock.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using SystemFile = FolderTest;

TEST_F(SystemFile, IsMadeUnderAFreeNameOnly)
{
    {
        const Descriptor file{create_new(path("new"))};
        ASSERT_TRUE(file.is_open());
        EXPECT_EQ(write_all(file.number(), "line\n\x1A"), 0);
        EXPECT_EQ(flush_file(file.number()), 0);
    }
    EXPECT_EQ(content("new"), "line\n\x1A");
    EXPECT_EQ(create_new(path("new")), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(create_new(path("none/new")), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SystemFile, IsAppendedToAndCut)
{
    const Descriptor file{create_new(path("log"), true)};
    EXPECT_EQ(write_all(file.number(), "one\ntwo\n"), 0);
    EXPECT_EQ(cut_to(file.number(), 4), 0);
    EXPECT_EQ(write_all(file.number(), "three\n"), 0);
    EXPECT_EQ(flush_content(file.number()), 0);
    EXPECT_EQ(content("log"), "one\nthree\n");
}

TEST_F(SystemFile, IsMovedWhileItIsWritten)
{
    {
        const Descriptor file{create_new(path("new"), true)};
        write("taken", "old");
        EXPECT_EQ(move_to_free_name(path("new"), path("taken")), EEXIST);
        EXPECT_EQ(content("taken"), "old");
        EXPECT_EQ(move_to_free_name(path("new"), path("free")), 0);
        EXPECT_EQ(flush_folder_of(path("free")), 0);
        EXPECT_EQ(write_all(file.number(), "more"), 0);
        EXPECT_EQ(content("free"), "more");
        EXPECT_EQ(move_over(path("free"), path("taken")), 0);
        EXPECT_EQ(content("taken"), "more");
        EXPECT_EQ(kind_of(path("free")), FileKind::none);
        EXPECT_EQ(write_all(file.number(), " still"), 0);
    }
    EXPECT_EQ(content("taken"), "more still");
    EXPECT_EQ(remove_file(path("taken")), 0);
    EXPECT_EQ(remove_file(path("taken")), ENOENT);
}

TEST_F(SystemFile, IsReadAtAnyPlace)
{
    write("text", "0123456789");
    const Descriptor file{open_to_read(path("text"))};
    std::string piece(4, ' ');
    EXPECT_EQ(read_at(file.number(), piece, 3), 4U);
    EXPECT_EQ(piece, "3456");
    EXPECT_EQ(read_at(file.number(), piece, 8), 2U);
    EXPECT_EQ(read_at(file.number(), piece, 10), 0U);
    EXPECT_EQ(open_to_read(path("none")), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SystemFile, SaysWhatANameLeadsTo)
{
    write("text", "text");
    EXPECT_EQ(kind_of(path("text")), FileKind::regular);
    EXPECT_EQ(kind_of_name(path("text")), FileKind::regular);
    EXPECT_EQ(kind_of(folder.string()), FileKind::folder);
    EXPECT_EQ(kind_of(path("none")), FileKind::none);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(try_folder(folder.string()), 0);
    EXPECT_EQ(try_folder(path("text")), ENOTDIR);
    EXPECT_EQ(try_folder(path("none")), ENOENT);
}

TEST_F(SystemFile, HasOneIdentityUnderAllNames)
{
    write("one", "text");
    write("two", "text");
    const auto one = identity_of(path("one"));
    ASSERT_TRUE(one);
    const Descriptor file{open_to_read(path("one"))};
    EXPECT_EQ(identity_of(file.number()), one);
    EXPECT_EQ(identity_of((folder / "." / "one").string()), one);
    EXPECT_NE(identity_of(path("two")), one);
    EXPECT_EQ(identity_of(path("none")), std::nullopt);
}

TEST_F(SystemFile, TellsItsReadersThatItIsWritten)
{
    const Descriptor writer{create_new(path("log"), true)};
    const Descriptor reader{open_to_read(path("log"))};
    EXPECT_FALSE(is_being_written(reader.number()));
    EXPECT_EQ(mark_as_written(writer.number()), 0);
    EXPECT_EQ(write_all(writer.number(), "line"), 0);
    EXPECT_TRUE(is_being_written(reader.number()));
    EXPECT_EQ(content("log"), "line") << "readers are not hindered";
}

TEST_F(SystemFile, MayHaveANameInUtf8LongerThanMostAre)
{
    const std::filesystem::path deep =
        folder / std::string(120, 'a') / std::string(120, 'b') / "p\u00E4th \u03B1";
    std::filesystem::create_directories(deep);
    const std::string name = (deep / "n\u00E4me.bit").string();
    {
        const Descriptor file{create_new(name)};
        ASSERT_TRUE(file.is_open());
        EXPECT_EQ(write_all(file.number(), "text"), 0);
    }
    EXPECT_EQ(kind_of(name), FileKind::regular);
    EXPECT_EQ(remove_file(name), 0);
    EXPECT_EQ(kind_of(name), FileKind::none);
}
} // namespace
