// SPDX-License-Identifier: Apache-2.0
// The MCB header's numbers and texts as they stand in the file.
#include "formats/mcb_format.h"

#include "streams.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

using namespace std::string_literals;

namespace
{
constexpr char magic[] = "\x78\x12\x44\x00\x88\x01\x76\x00";

McbMagic magic_of(std::string_view bytes)
{
    const File file = stream_of(bytes);
    return read_mcb_magic(file.get());
}

std::string stored_text(std::string_view text)
{
    const McbText field = to_mcb_text(text);
    return {field.begin(), field.end()};
}
} // namespace

TEST(McbFormat, NumbersAreLittleEndian)
{
    EXPECT_EQ(to_mcb_number(0x00441278), (McbNumber{0x78, 0x12, 0x44, 0x00}));
    EXPECT_EQ(to_mcb_number(0x00760188), (McbNumber{0x88, 0x01, 0x76, 0x00}));
    EXPECT_EQ(to_mcb_number(0xFFFFFFFC), (McbNumber{0xFC, 0xFF, 0xFF, 0xFF}));

    const File file = stream_of("\x78\x56\x34\x12\xFC\xFF\xFF\xFF"s);
    std::int32_t number = 0;
    EXPECT_TRUE(read_mcb_number(file.get(), number));
    EXPECT_EQ(number, 0x12345678);
    EXPECT_TRUE(read_mcb_number(file.get(), number));
    EXPECT_EQ(number, -4) << "byte counts are signed";
}

TEST(McbFormat, ANumberThatIsCutShortCannotBeRead)
{
    for (std::size_t size = 0; size < 4; ++size) {
        std::int32_t number = 0;
        const File file = stream_of(std::string(size, '\1'));
        EXPECT_FALSE(read_mcb_number(file.get(), number)) << size;
    }
}

TEST(McbFormat, BothMagicNumbersMustBeRight)
{
    const std::string right{magic, 8};
    EXPECT_EQ(magic_of(right), McbMagic::right);
    EXPECT_EQ(magic_of(right + "more"), McbMagic::right);
    for (std::size_t place = 0; place < right.size(); ++place) {
        std::string wrong = right;
        wrong[place] = static_cast<char>(wrong[place] ^ 1);
        EXPECT_EQ(magic_of(wrong), McbMagic::wrong) << place;
        EXPECT_EQ(magic_of(right.substr(0, place)), McbMagic::unreadable) << place;
    }
}

TEST(McbFormat, TextsAreFilledUpWithZeroBytesOrCutSoThatOneFits)
{
    EXPECT_EQ(stored_text("2v3000fg676"), "2v3000fg676"s + std::string(255 - 11, '\0'));
    EXPECT_EQ(stored_text(""), std::string(255, '\0'));
    EXPECT_EQ(stored_text(std::string(254, 'x')), std::string(254, 'x') + '\0');
    EXPECT_EQ(stored_text(std::string(300, 'x')), std::string(254, 'x') + '\0');
}

TEST(McbFormat, ATextWithoutAZeroByteIsEndedBehindItsField)
{
    const File file = stream_of(std::string(255, 'x') + "rest");
    char text[256];
    std::fill(std::begin(text), std::end(text), 'y');
    EXPECT_TRUE(read_mcb_text(file.get(), text));
    EXPECT_EQ(text, std::string(255, 'x'));
    EXPECT_EQ(std::fgetc(file.get()), 'r');
}

TEST(McbFormat, ATextThatIsCutShortCannotBeRead)
{
    for (const std::size_t size : {0U, 1U, 254U}) {
        const File file = stream_of(std::string(size, 'x'));
        char text[256];
        EXPECT_FALSE(read_mcb_text(file.get(), text)) << size;
    }
}

TEST(McbFormat, AReadErrorIsNoRead)
{
    const File bad_magic = stream_with_error_behind({magic, 7});
    EXPECT_EQ(read_mcb_magic(bad_magic.get()), McbMagic::unreadable);
    const File bad_text = stream_with_error_behind(std::string(254, 'x'));
    char text[256];
    EXPECT_FALSE(read_mcb_text(bad_text.get(), text));
    const File bad_number = stream_with_error_behind("abc");
    std::int32_t number = 0;
    EXPECT_FALSE(read_mcb_number(bad_number.get(), number));
}
