// SPDX-License-Identifier: Apache-2.0
// The builders of files agree with the layouts of the formats.
#include "support/bitstreams.h"

#include <gtest/gtest.h>

namespace
{
TEST(Builders, CodeRuns)
{
    EXPECT_EQ(hex(run_coded(Bytes(300, 0xFF))), "FF FF 2D FF");
    EXPECT_EQ(hex(run_coded(bytes("01 02 03 03 03"))), "01 01 01 02 03 03");
    EXPECT_EQ(hex(run_coded({})), "");
}

TEST(Builders, WriteAnRbtLineFirstBitFirst)
{
    EXPECT_EQ(rbt_line(bytes("01 02 04 80").data()), "10000000010000000010000000000001\n");
}

TEST(Builders, LayOutABitFile)
{
    BitFile file{bytes("80 01")};
    file.design = "d";
    file.device = "v50";
    file.date = "";
    file.time = "t";
    const std::string content = file.content();
    EXPECT_EQ(hex(content.data(), content.size()),
              "00 09 0F F0 0F F0 0F F0 0F F0 00 00 01 61 00 01 64 62 00 03 76 35 30 63 00 00 64 00 01 74 65 "
              "00 00 00 02 01 80");
}

TEST(Builders, LayOutAnMcbFile)
{
    const std::string content = McbFile{Bytes(4, 0xA5)}.content();
    ASSERT_EQ(content.size(), McbFile::HEADER_SIZE + 2);
    EXPECT_EQ(hex(content.data(), 12), "78 12 44 00 88 01 76 00 32 76 33 30");
    EXPECT_EQ(hex(content.data() + 263, 4), "44 61 74 65");
    EXPECT_EQ(hex(content.data() + 518, 6), "04 00 00 00 04 A5");
}

TEST(Builders, StateTheNumberOfBits)
{
    EXPECT_EQ(RbtFile{8}.header.back(), "Bits:        \t256\n");
    EXPECT_EQ(RbtFile{8}.stated_bits(-1).header.back(), "Bits:        \t-1\n");
    EXPECT_EQ(RbtFile{8}.without_date().header.size(), 6U);
}
} // namespace
