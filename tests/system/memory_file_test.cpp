// SPDX-License-Identifier: Apache-2.0
// Files without a name for others.
#include "system/memory_file.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace
{
using kvn::system::MemoryFile;

struct Stream {
    explicit Stream(const MemoryFile& content) : file{content.open()} {}
    ~Stream() { (void)std::fclose(file); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    [[nodiscard]] std::string read(std::size_t size) const
    {
        std::string text(size, '\0');
        text.resize(std::fread(text.data(), 1, size, file));
        return text;
    }
    std::FILE* file;
};

void fill(MemoryFile& file, std::string_view text)
{
    file.append({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(MemoryFile, GivesEachStreamAPositionOfItsOwn)
{
    MemoryFile file;
    fill(file, "first ");
    fill(file, "second");
    file.seal();
    EXPECT_EQ(file.size(), 12U);
    const Stream one{file};
    const Stream other{file};
    EXPECT_EQ(one.read(6), "first ");
    EXPECT_EQ(other.read(100), "first second");
    EXPECT_EQ(one.read(100), "second");
}

TEST(MemoryFile, KeepsItsBytesAsTheyAre)
{
    constexpr std::string_view odd{"\r\n\x1A\0\n", 5};
    MemoryFile file;
    fill(file, odd);
    file.seal();
    EXPECT_EQ(Stream{file}.read(100), odd);
}

TEST(MemoryFile, LivesAsLongAsAStream)
{
    std::optional<MemoryFile> file{std::in_place};
    fill(*file, "kept");
    file->seal();
    const Stream stream{*file};
    file.reset();
    EXPECT_EQ(stream.read(100), "kept");
}
} // namespace
