// SPDX-License-Identifier: Apache-2.0
// .con files as plans: strictly, and as the classic way reads them.
#include "plan_support.h"

#include <gmock/gmock.h>

namespace
{
using kvn::ConReading;
using testing::ElementsAre;
using testing::IsEmpty;

const NamedFiles files{
    {"main.rbt", "video.mcb", "both.rbt", "line/both.rbt", "line/near.rbt", "line/main.rbt"}};

kvn::Plan strict(std::string_view text, const std::string& file = "rack.con")
{
    return read_con_plan(text, file, ConReading::strict, files);
}

kvn::Plan classic(std::string_view text)
{
    return read_con_plan(text, "rack.con", ConReading::classic, files);
}

TEST(ConPlan, TakesTheModulesOfAGoodFileInOrder)
{
    const kvn::Plan plan = strict("\"Bitstream  BoardType  Board  Slot\n"
                                  "\n"
                                  "main.rbt   mwc4a      0      1      a comment\n"
                                  "video\tmwc4a\t0\t2\r\n"
                                  "main.rbt   mwc4a      0      0x12\n"
                                  "main.rbt   mwc3a      2      0x21");
    EXPECT_THAT(told(plan), IsEmpty());
    EXPECT_FALSE(plan.has_problem());
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/1 main.rbt", "mwc4a:0/2 video.mcb", "mwc4a:0/1.2 main.rbt",
                                         "mwc3a:2/1 main.rbt"));
    EXPECT_EQ(plan.modules[2].place.text(), "rack.con:5");
}

TEST(ConPlan, FindsFilesInTheWorkingDirectoryAndBesideThePlan)
{
    const kvn::Plan plan =
        strict("near.rbt mwc4a 0 1\nboth mwc4a 0 2\nvideo.mcb mwc4a 0 3\n", "line/rack.con");
    EXPECT_THAT(named(plan),
                ElementsAre("mwc4a:0/1 line/near.rbt", "mwc4a:0/2 both.rbt", "mwc4a:0/3 video.mcb"));
    EXPECT_THAT(
        told(plan),
        ElementsAre("line/rack.con:2: note: both.rbt lies in the working directory and beside the plan; the "
                    "one in the working directory is taken -> write the path of the one that you mean"));
    EXPECT_FALSE(plan.has_problem());
}

TEST(ConPlan, EveryMistakeIsAProblemWithItsLineAndARemedy)
{
    struct Case {
        std::string line;
        std::string told;
    };
    const std::string long_line = "main.rbt mwc4a 0 1 " + std::string(236, 'x');
    const Case cases[] = {
        {"main.rbt mwc4a 0",
         "the line has 3 of 4 fields -> write FILE BOARDTYPE BOARD SLOT; begin a comment with \" "
         "in the first column"},
        {"main.rbt mwc4a 0x 1",
         "the board number \"0x\" is no whole number from 0 to 15 -> write the number of the "
         "board whose bus is opened"},
        {"main.rbt mwc4a 16 1",
         "the board number \"16\" is no whole number from 0 to 15 -> write the number of the "
         "board whose bus is opened"},
        {"main.rbt mwc4a -1 1",
         "the board number \"-1\" is no whole number from 0 to 15 -> write the number of the "
         "board whose bus is opened"},
        {"main.rbt mwc4a 99999999999999999999 1",
         "the board number \"99999999999999999999\" is no whole number from "
         "0 to 15 -> write the number of the board whose bus is opened"},
        {"main.rbt mwc4a 0 two",
         "the slot address \"two\" names no slot -> write the slot, 1 to 4, plus 16 times the "
         "number of the board with the module: 2, or 0x12"},
        {"main.rbt mwc4a 0 1x",
         "the slot address \"1x\" names no slot -> write the slot, 1 to 4, plus 16 times the "
         "number of the board with the module: 2, or 0x12"},
        {"main.rbt mwc4a 0 0x10",
         "the slot address \"0x10\" names no slot -> write the slot, 1 to 4, plus 16 times "
         "the number of the board with the module: 2, or 0x12"},
        {"main.rbt mwc4a 0 257",
         "the slot address \"257\" names no slot -> write the slot, 1 to 4, plus 16 times the "
         "number of the board with the module: 2, or 0x12"},
        {"main.rbt mwc4a:0 0 1",
         "\"mwc4a:0\" is no board type -> write a type such as mwc4a, of up to 31 characters"},
        {" main.rbt mwc4a 0 1",
         "the line begins with a blank; the classic way skips it -> begin the line with the "
         "bitstream's name; begin a comment with \" in the first column"},
        {"\tmain.rbt mwc4a 0 1",
         "the line begins with a tab; the classic way takes an empty name for the bitstream "
         "-> begin the line with the bitstream's name; begin a comment with \" in the first "
         "column"},
        {"\"main.rbt\" mwc4a 0 1",
         "the name \"main.rbt\" is quoted, which makes the line a comment -> write the name "
         "without quotation marks"},
        {"main.bit mwc4a 0 1",
         "main.bit has another extension than .rbt and .mcb -> kvn plan convert rack.con makes a "
         "plan file, which takes BIT files too"},
        {"main.txt mwc4a 0 1",
         "main.txt has another extension than .rbt and .mcb -> name an RBT or MCB file"},
        {"lost.rbt mwc4a 0 1",
         "lost.rbt is neither in the working directory nor beside the plan -> check the name, or write the path"},
        {std::string{"main.rbt mwc4a 0 1\0x", 20}, "the line holds a control character -> write plain text"},
        {long_line,
         "the line has 255 characters; the classic way reads up to 254 -> shorten the line, for example by "
         "a shorter path"},
    };
    for (const Case& each : cases) {
        const kvn::Plan plan = strict("main.rbt mwc4a 5 0x54\n" + each.line + "\n");
        EXPECT_THAT(told(plan), ElementsAre("rack.con:2: " + each.told));
        EXPECT_EQ(plan.modules.size(), 1U) << each.line;
        EXPECT_TRUE(plan.has_problem());
    }
}

TEST(ConPlan, TellsAllProblemsOfALineAndOfAFile)
{
    const kvn::Plan plan = strict("lost.rbt mwc4a x y\n lost mwc4a 0 1\n");
    EXPECT_EQ(plan.findings.size(), 4U);
    EXPECT_THAT(named(plan), IsEmpty());
}

TEST(ConPlan, AModuleThatIsNamedTwiceIsAProblemOverAnyBus)
{
    const kvn::Plan plan = strict("main.rbt mwc4a 0 0x12\nvideo mwc4a 1 0x12\nmain.rbt mwc3a 1 0x12\n");
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/1.2 main.rbt", "mwc3a:1/2 main.rbt"));
    EXPECT_THAT(
        told(plan),
        ElementsAre("rack.con:2: mwc4a:1/2 is the module of rack.con:1 again -> name each module once"));
}

TEST(ConPlan, ASlotOfBoardZeroOnTheLineOfAnotherBoardIsNoted)
{
    const kvn::Plan plan = strict("main.rbt mwc4a 1 2\n");
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:1/0.2 main.rbt"));
    EXPECT_THAT(told(plan),
                ElementsAre("rack.con:1: note: slot address 2 is slot 2 of board 0, reached over board 1 "
                            "-> for the slot of board 1 itself write 18"));
}

TEST(ConPlan, AFileWithoutAModuleIsAProblem)
{
    for (const char* text : {"", "\"nothing\n\n \n"})
        EXPECT_THAT(told(strict(text)),
                    ElementsAre("rack.con: the plan names no module -> write a line for each "
                                "module: FILE BOARDTYPE BOARD SLOT"));
}

TEST(ConPlan, CommentsWithOneQuotationMarkOrWithoutAModuleAreComments)
{
    EXPECT_THAT(told(strict("\"old.rbt mwc4a 0 1\n\"see \"rack\" of line 0 or 1\nmain.rbt mwc4a 0 1\n")),
                IsEmpty());
}

TEST(ConPlan, TheClassicReadingTellsWhatItMakesOfOddLines)
{
    const kvn::Plan plan = classic(" main.rbt mwc4a 0 1\n"
                                   "main.rbt mwc4a 0x 1x\r\n"
                                   "main.rbt mwc4a 65537 2\n"
                                   "main.rbt mwc4a 0 2 " +
                                   std::string(236, ' ') + "video mwc4a 0 3\n");
    EXPECT_THAT(
        told(plan),
        ElementsAre("rack.con:1: note: the line begins with a blank and is skipped",
                    "rack.con:2: note: \"0x\" is taken for 0", "rack.con:2: note: \"1x\" is taken for 1",
                    "rack.con:3: note: \"65537\" is taken for 1",
                    "rack.con:4: note: the line has more than 255 characters; the rest is read as a line of "
                    "its own"));
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/1 main.rbt", "mwc4a:1/0.2 main.rbt", "mwc4a:0/2 main.rbt",
                                         "mwc4a:0/3 video.mcb"));
}

TEST(ConPlan, AZeroByteEndsALineOfTheClassicReading)
{
    const kvn::Plan plan = classic(std::string{"main.rbt mwc4a 0 1\0x\nvideo mwc4a 0 2\n", 37});
    EXPECT_THAT(told(plan), ElementsAre("rack.con:1: note: a zero byte ends the line"));
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/1 main.rbt", "mwc4a:0/2 video.mcb"));
}

TEST(ConPlan, TheClassicReadingTellsWhereTheRunEnds)
{
    const kvn::Plan plan =
        classic("main.rbt mwc4a 16 1\nmain.rbt mwc4a 0 5\nlost.rbt mwc4a 0 1\n\tx mwc4a 0 1\n"
                "main.bit mwc4a 0 1\nmain.rbt mwc4a\n");
    EXPECT_THAT(
        told(plan),
        ElementsAre(
            "rack.con:1: the board number is 16, not 0 to 15: the run ends here with 9025 -> correct the number",
            "rack.con:2: the slot is 5, not 1 to 4: the run ends here with 9026 -> correct the slot address",
            "rack.con:3: lost.rbt is not in the working directory, or has another extension than .rbt and "
            ".mcb: the run ends here -> correct the name",
            "rack.con:4: the bitstream's name is empty: the run ends here -> correct the name",
            "rack.con:5: main.bit is not in the working directory, or has another extension than .rbt and "
            ".mcb: the run ends here -> correct the name",
            "rack.con:6: note: the line has 2 of 4 fields; missing numbers are 0",
            "rack.con:6: the slot is 0, not 1 to 4: the run ends here with 9026 -> correct the slot address"));
}

TEST(ConPlan, TheClassicReadingKeepsModulesThatAreNamedTwice)
{
    EXPECT_EQ(classic("main.rbt mwc4a 0 1\nmain.rbt mwc4a 0 1\n").modules.size(), 2U);
}
} // namespace
