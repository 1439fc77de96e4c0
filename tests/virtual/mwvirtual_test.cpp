// SPDX-License-Identifier: Apache-2.0
// Racks that are put in force through C functions.
#include "bus_support.h"
#include "mwvirtual.h"

#include "support/files.h"
#include "support/folder_test.h"

namespace
{

using namespace mwvirtual;

constexpr const char* SMALL = "[[board]]\ntype = \"mwc4a\"\nnumber = 5\n"
                              "[[board.slot]]\nnumber = 1\nkind = \"fpga\"\ndevice = \"2v40cs144-4\"\n";
constexpr const char* OTHER = "[[board]]\ntype = \"mwc4a\"\nnumber = 6\n";

std::uint32_t opening(std::uint16_t number)
{
    return Bus{"mwc4a", number}.opened;
}

TEST(RacksInC, AreInForceUntilTheyAreRemoved)
{
    MwVirtualRack* first = MwVirtualPutRack(SMALL, "small.toml", nullptr);
    ASSERT_NE(first, nullptr) << MwVirtualProblem();
    EXPECT_EQ(opening(5), SUCCESS);
    MwVirtualRack* second = MwVirtualPutRack(OTHER, "other.toml", nullptr);
    ASSERT_NE(second, nullptr) << MwVirtualProblem();
    EXPECT_EQ(opening(5), NO_SUCH_BOARD);
    EXPECT_EQ(opening(6), SUCCESS);
    MwVirtualRemoveRack(second);
    EXPECT_EQ(opening(5), SUCCESS);
    MwVirtualRemoveRack(first);
    EXPECT_EQ(opening(5), NO_SUCH_BOARD) << "the built-in rack has no such board";
    MwVirtualRemoveRack(nullptr);
}

TEST(RacksInC, NameTheLineOfAMistake)
{
    EXPECT_EQ(MwVirtualPutRack("[[board]]\ntype = 7\n", "bad.toml", nullptr), nullptr);
    EXPECT_STREQ(MwVirtualProblem(), "bad.toml:2: \"type\" must be a text of 1 to 31 characters");
    EXPECT_EQ(MwVirtualPutRack(nullptr, "none.toml", nullptr), nullptr);
    EXPECT_STREQ(MwVirtualProblem(), "the description or its name is null");
    EXPECT_EQ(MwVirtualPutRack("", nullptr, nullptr), nullptr);
    EXPECT_STREQ(MwVirtualProblem(), "the description or its name is null");
    MwVirtualRack* rack = MwVirtualPutRack(SMALL, "small.toml", nullptr);
    EXPECT_STREQ(MwVirtualProblem(), "");
    MwVirtualRemoveRack(rack);
}

class RacksInCWithState : public FolderTest
{
};

TEST_F(RacksInCWithState, KeepTheStateInTheFolder)
{
    MwVirtualRack* rack = MwVirtualPutRack(SMALL, "small.toml", path("").c_str());
    ASSERT_NE(rack, nullptr) << MwVirtualProblem();
    {
        Bus bus{"mwc4a", 5};
        bus.load(5, 1, {0x03, 0x2D}, Bytes{1, 2, 3});
    }
    MwVirtualRemoveRack(rack);
    EXPECT_NE(content("mwc4a-5-1.json").find("\"state\":\"refused\""), std::string::npos)
        << content("mwc4a-5-1.json");
}

TEST_F(RacksInCWithState, FailEveryOpeningWithoutTheFolder)
{
    MwVirtualRack* rack = MwVirtualPutRack(SMALL, "small.toml", path("missing").c_str());
    ASSERT_NE(rack, nullptr) << MwVirtualProblem();
    EXPECT_EQ(opening(5), STATE_FAILED);
    MwVirtualRemoveRack(rack);
}

} // namespace
