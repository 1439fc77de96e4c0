// SPDX-License-Identifier: Apache-2.0
// Blocks: nothing is lost, and an end or an error takes effect only at its place.
#include "formats/block_file.h"

#include "streams.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

namespace
{
std::string sample(std::size_t size)
{
    std::mt19937 random{3};
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string shown(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}
} // namespace

TEST(BlockReader, GivesTheBytesOfTheStream)
{
    const std::string bytes = sample(3 * READ_SIZE + 1234);
    const File file = stream_of(bytes);
    BlockReader reader{file.get()};
    std::mt19937 random{6};
    std::string read;
    while (read.size() < bytes.size()) {
        const std::size_t wanted = random() % 4096 + 1;
        const std::string got = shown(reader.peek(wanted));
        ASSERT_GE(got.size(), std::min(wanted, bytes.size() - read.size()));
        const std::size_t used = std::min(got.size(), wanted);
        read += got.substr(0, used);
        reader.skip(used);
    }
    EXPECT_EQ(read, bytes);
    EXPECT_TRUE(reader.peek(1).empty());
    EXPECT_TRUE(reader.ended());
    EXPECT_FALSE(reader.failed());
}

TEST(BlockReader, ShowsTheSameBytesUntilTheyArePassedOver)
{
    const File file = stream_of("configuration");
    BlockReader reader{file.get()};
    EXPECT_EQ(shown(reader.peek(3)).substr(0, 3), "con");
    EXPECT_EQ(shown(reader.peek(3)).substr(0, 3), "con");
    reader.skip(3);
    EXPECT_EQ(shown(reader.peek(3)).substr(0, 3), "fig");
}

TEST(BlockReader, GivesWhatStandsInFrontOfTheEnd)
{
    const File file = stream_of("abc");
    BlockReader reader{file.get()};
    EXPECT_EQ(shown(reader.peek(4)), "abc");
    EXPECT_TRUE(reader.ended());
    EXPECT_FALSE(reader.failed());
}

TEST(BlockReader, GivesWhatStandsInFrontOfAnError)
{
    const File file = stream_with_error_behind("abc");
    BlockReader reader{file.get()};
    EXPECT_EQ(shown(reader.peek(4)), "abc");
    EXPECT_TRUE(reader.failed());
    reader.skip(3);
    EXPECT_TRUE(reader.peek(1).empty());
    EXPECT_TRUE(reader.failed());
}

TEST(BlockReader, NeverReadsBehindTheEnd)
{
    const File file = stream_of("abc");
    BlockReader reader{file.get()};
    EXPECT_EQ(reader.peek(4).size(), 3U);
    std::clearerr(file.get());
    EXPECT_EQ(reader.peek(4).size(), 3U);
    EXPECT_FALSE(reader.ended()) << "the stream was read once more";
}

TEST(BlockWriter, HandsOverEveryByte)
{
    const std::string bytes = sample(3 * READ_SIZE + 1234);
    std::string taken;
    BlockWriter writer{unbuffered_stream_into(taken)};
    std::mt19937 random{7};
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t size = std::min<std::size_t>(random() % 9000, bytes.size() - at);
        ASSERT_EQ(writer.put(bytes.data() + at, size), size);
        at += size;
    }
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(taken, bytes);
}

TEST(BlockWriter, HandsOverWhatWasPutWhenItIsForgotten)
{
    std::string taken;
    {
        BlockWriter writer{unbuffered_stream_into(taken)};
        writer.put("abc", 3);
    }
    EXPECT_EQ(taken, "abc");
}

TEST(BlockWriter, ReportsAtTheEndWhatFoundNoRoom)
{
    std::string taken;
    BlockWriter writer{unbuffered_stream_into(taken, 2)};
    writer.put("abc", 3);
    EXPECT_FALSE(writer.close());
    EXPECT_EQ(taken, "ab");
}

TEST(BlockWriter, TellsTheByteThatFoundNoRoomWhereNothingIsGathered)
{
    // Without memory for a block the stream keeps its buffer, which is none here.
    const FaultScope faults;
    const std::string bytes = sample(1000);
    for (const std::size_t room : {0U, 1U, 99U, 100U, 999U}) {
        std::string taken;
        fail_allocation_at(1);
        BlockWriter writer{unbuffered_stream_into(taken, room)};
        std::size_t put = 0;
        while (writer.put(&bytes[put], 100) == 100)
            put += 100;
        EXPECT_EQ(put, room / 100 * 100);
        EXPECT_EQ(taken, bytes.substr(0, room));
    }
}

TEST(BlockReader, GivesEveryByteWithoutMemoryForABlock)
{
    const std::string bytes = sample(20000);
    const TemporaryFolder folder;
    const auto name = folder.path() / "bytes";
    write_whole_file(name, bytes);
    for (const std::size_t begin : {0U, 1U, 4000U, 5000U}) {
        const File file{std::fopen(name.string().c_str(), "rb")};
        ASSERT_EQ(std::fseek(file.get(), static_cast<long>(begin), SEEK_SET), 0);
        const FaultScope faults;
        fail_allocation_at(1);
        BlockReader reader{file.get()};
        std::string read;
        for (auto part = reader.peek(4096); !part.empty(); part = reader.peek(4096)) {
            read += shown(part);
            reader.skip(part.size());
        }
        EXPECT_EQ(read, bytes.substr(begin));
    }
}
