// SPDX-License-Identifier: Apache-2.0
// A descriptor that a process was given: a pipe as workers read their jobs from, and a file.
#include "system/incoming.h"

#include "support/folder_test.h"
#include "system/descriptor.h"
#include "system/file.h"
#include "system/process.h"

#include <array>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested

/// Waits for what a program writes, up to a text or its end.
std::string read_until(Process& process, std::string_view text)
{
    std::string read;
    std::array<char, 4096> piece{};
    while (!read.ends_with(text)) {
        std::array entries{Awaited{.what = process.output().waitable()}};
        (void)wait(entries, -1);
        const Transfer made = process.output().read_some(piece);
        if (made.result == Transfer::Result::over)
            break;
        read.append(piece.data(), made.bytes);
        std::erase(read, '\r'); // the helper writes lines as its system does
    }
    return read;
}

void send(Process& process, std::string_view text)
{
    ASSERT_EQ(process.input().write_some(text).bytes, text.size());
    while (process.input().is_sending()) {
        std::array entries{Awaited{.what = process.input().waitable(), .to_write = true}};
        (void)wait(entries, -1);
    }
}

TEST(IncomingPipe, IsReadAsItComes)
{
    Process process{{.program = SYSTEM_HELPER, .arguments = {"pieces"}}};
    send(process, "ab");
    EXPECT_EQ(read_until(process, "got ab\n"), "got ab\n") << "before anything else has come";
    send(process, "0123456789");
    process.input().close();
    EXPECT_EQ(read_until(process, "end\n"), "got 0123\ngot 4567\ngot 89\nend\n") << "nothing is lost between";
    EXPECT_EQ(process.wait(), "ended with status 0");
}

TEST(IncomingPipe, IsLeftWhileNothingComes)
{
    Process process{{.program = SYSTEM_HELPER, .arguments = {"stop reading"}}};
    EXPECT_EQ(read_until(process, "stopped\n"), "stopped\n");
    EXPECT_EQ(process.wait(), "ended with status 0");
}

using IncomingFile = FolderTest;

TEST_F(IncomingFile, IsReadToItsEnd)
{
    write("file", "content\r\n\x1A!");
    const Descriptor file{open_to_read(path("file"))};
    Incoming incoming{file.number()};
    std::string read;
    std::array<char, 3> piece{};
    std::optional<std::size_t> size;
    do {
        std::array entries{Awaited{.what = incoming.waitable()}};
        EXPECT_TRUE(wait(entries, -1));
        size = incoming.read_some(piece);
        ASSERT_TRUE(size);
        read.append(piece.data(), *size);
    } while (*size != 0);
    EXPECT_EQ(read, "content\r\n\x1A!");
    EXPECT_EQ(incoming.read_some(piece), 0U) << "the end stays";
}
} // namespace
