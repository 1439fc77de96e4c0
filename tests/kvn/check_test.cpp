// SPDX-License-Identifier: Apache-2.0
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using KvnCheck = KvnTest;

TEST_F(KvnCheck, AGoodFileStartsTheDeviceThatItNames)
{
    for (const char* file : {"a.bit", "a.rbt", "a.mcb"}) {
        make("2v40cs144-4", file);
        const Outcome outcome = kvn({"check", file});
        EXPECT_EQ(outcome.status, 0) << file;
        EXPECT_THAT(outcome.output,
                    testing::MatchesRegex("File:           a\\....\n"
                                          "Problems:       none\n"
                                          "Plain:          starts, after 42374 bytes on the bus\n"
                                          "Compressed:     starts, after .* bytes on the bus\n"
                                          "Result:         yes, a module with a 2v40cs144 would start\n"));
    }
}

TEST_F(KvnCheck, ShowsControlCharactersAsEscapes)
{
    make("2v40cs144-4", "a.bit");
    std::filesystem::rename(folder / "a.bit", folder / "a\x1B[2J.bit");
    EXPECT_THAT(kvn({"check", "a\x1B[2J.bit"}).output,
                testing::StartsWith("File:           a\\x1B[2J.bit\nProblems:       none\n"));
    const std::string refused = kvn({"check", "a\x1B[2J.bit", "--device", "2v80cs144-4"}).output;
    EXPECT_THAT(refused, testing::HasSubstr("Plain:          Error 9336. "));
    EXPECT_THAT(refused, testing::Not(testing::HasSubstr("\x1B")));
    EXPECT_THAT(kvn({"check", "a\x1B[2J.bit", "--device", "x\x1By"}).output,
                testing::HasSubstr("no device x\\x1By is known\n"));
}

TEST_F(KvnCheck, TellsWhatIsHeldBackFromOlderDevices)
{
    make("v50pq240-5", "a.bit");
    make("v50pq240-5", "a.mcb");
    const Outcome bit = kvn({"check", "a.bit", "--device", "v50pq240-5"});
    EXPECT_EQ(bit.status, 0);
    EXPECT_THAT(bit.output,
                testing::HasSubstr("Plain:          starts, after 69886 bytes on the bus, without the "
                                   "last 16 bytes, which the library holds back\n"));
    EXPECT_THAT(bit.output,
                testing::HasSubstr("Result:         yes, a module with a v50pq240-5 would start\n"));
    const Outcome mcb = kvn({"check", "a.mcb"});
    EXPECT_EQ(mcb.status, 0);
    EXPECT_THAT(mcb.output,
                testing::HasSubstr("without the last 4 bytes, which the library holds back\nCompressed:"));
}

TEST_F(KvnCheck, NamesBothDevicesWhenTheyDiffer)
{
    make("v50pq240-5", "a.rbt");
    const Outcome outcome = kvn({"check", "a.rbt", "--device", "2v40cs144-4"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(outcome.output,
              R"(File:           a.rbt
Problem:        the file is for a v50pq240, a v50 (Virtex); the module has a 2v40cs144-4, a 2v40 (Virtex-2)
  What to do:   use the bitstream that was made for the module's device
Plain:          Error 9103. Bitstream a.rbt is not for a 2v40cs144-4 device.
Compressed:     Error 9103. Bitstream a.rbt is not for a 2v40cs144-4 device.
Result:         no, a module with a 2v40cs144-4 would not start
)");
}

TEST_F(KvnCheck, ComparesAsTheLibraryDoes)
{
    make("2v40cs144-4", "a.bit");
    EXPECT_EQ(kvn({"check", "a.bit", "--device", "2v40-6"}).status, 0) << "a prefix suits";
    const Outcome package = kvn({"check", "a.bit", "--device", "2v40fg256-4"});
    EXPECT_EQ(package.status, 5);
    EXPECT_THAT(package.output,
                testing::HasSubstr("the chip is the same, but the library compares the whole name "
                                   "before the dash\n"));
    EXPECT_EQ(kvn({"check", "a.bit", "--device", "2V40CS144-4"}).status, 5) << "letter case counts";
}

TEST_F(KvnCheck, ASpartanStartsByACompressedBitLoadAlone)
{
    make("s10pc84-4", "a.bit");
    const Outcome both = kvn({"check", "a.bit"});
    EXPECT_EQ(both.status, 4);
    EXPECT_THAT(
        both.output,
        testing::HasSubstr("Plain:          Error 9366. Configuration was unsuccessful (4). The module: the "
                           "stream ends after 11860 bytes, with 571 of 572 frames loaded and no start-up\n"
                           "Compressed:     starts, after "));
    EXPECT_EQ(kvn({"check", "a.bit", "--load", "compressed"}).status, 0);
    EXPECT_EQ(kvn({"check", "a.bit", "--load", "plain"}).status, 4);
    EXPECT_THAT(kvn({"check", "a.bit", "--load", "compressed"}).output,
                testing::Not(testing::HasSubstr("Plain:")));
}

TEST_F(KvnCheck, ASpartanXlIsNoMultipleOfFourBytes)
{
    make("s10xlpc84-4", "a.bit");
    const Outcome outcome = kvn({"check", "a.bit"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(
        outcome.output,
        testing::HasSubstr("Problem:        the configuration is 11969 bytes, no multiple of 4; the library "
                           "loads words of 4 bytes alone\n"
                           "  What to do:   lengthen the file as docs/formats/spartan.md shows\n"
                           "Plain:          Error 9358. "));
    EXPECT_THAT(kvn({"info", "a.bit"}).output, testing::HasSubstr("Configuration:  DONE went high"))
        << "whole it is good";
}

TEST_F(KvnCheck, FamiliesThatNoModuleCarriesAreNamed)
{
    struct Part {
        const char* part;
        const char* family;
    };
    // Of the length of 2v40cs144, whose place they take.
    for (const Part& each :
         {Part{"3s500ecp1", "Spartan-3E"}, Part{"3s50cp132", "Spartan-3"}, Part{"4005epc84", "XC4000E"},
          Part{"4010xlpc8", "XC4000XL"}, Part{"2s300epq2", "Spartan-2E"}, Part{"4vlx25ff6", "Virtex-4"}}) {
        make("2v40cs144-4", "a.bit");
        std::string file = content("a.bit");
        file.replace(file.find("2v40cs144"), 9, each.part);
        write("a.bit", file);
        const Outcome outcome = kvn({"check", "a.bit"});
        const std::string part = each.part;
        const std::string family = each.family;
        EXPECT_EQ(outcome.status, 5);
        EXPECT_EQ(outcome.output,
                  "File:           a.bit\n"
                  "Problem:        the file is for a " +
                      part + " of the family " + family +
                      ", which no module carries\n"
                      "  What to do:   use the bitstream that was made for the module's device\n"
                      "Result:         no, no module carries a " +
                      part + " (" + family + ")\n");
        EXPECT_EQ(json({"info", "a.bit"})["other_family"], family);
    }
}

TEST_F(KvnCheck, WhatIsNotKnownCannotBeJudged)
{
    make("2v40cs144-4", "a.bit");
    EXPECT_EQ(kvn({"check", "a.bit", "--device", "z80"}).status, 2);
    EXPECT_THAT(kvn({"check", "a.bit", "--device", "z80"}).output,
                testing::HasSubstr("Result:         cannot be judged, no device z80 is known\n"));
    std::string file = content("a.bit");
    file.replace(file.find("2v40cs144"), 9, std::string(9, '\0'));
    write("a.bit", file);
    EXPECT_EQ(kvn({"check", "a.bit"}).status, 2);
    EXPECT_THAT(
        kvn({"check", "a.bit"}).output,
        testing::HasSubstr("Result:         cannot be judged, the file names no device; name the module's by "
                           "--device\n"));
    EXPECT_EQ(kvn({"check", "nothing.bit"}).status, 3);
}

TEST_F(KvnCheck, PrintsItsJudgementAsJson)
{
    make("2v40cs144-4", "a.bit", "crc");
    const nlohmann::json bad = json({"check", "a.bit", "--device", "2v40cs144-4"})["check"];
    EXPECT_EQ(bad["device"], "2v40cs144-4");
    EXPECT_EQ(bad["result"], "no");
    EXPECT_EQ(bad["plain"]["starts"], false);
    EXPECT_EQ(bad["plain"]["error"], "Error 9366. Configuration was unsuccessful (2).");
    EXPECT_EQ(bad["compressed"]["starts"], false);
    make("2v40cs144-4", "a.bit");
    const nlohmann::json good = json({"check", "a.bit"})["check"];
    EXPECT_EQ(good["result"], "yes");
    EXPECT_EQ(good["plain"], (nlohmann::json{{"starts", true},
                                             {"error", ""},
                                             {"module", "DONE went high after 338784 bits"},
                                             {"bus_bytes", 42374}}));
}

TEST_F(KvnCheck, LoadsThatAreNotTriedAreNullInJson)
{
    make("s10pc84-4", "a.bit");
    const nlohmann::json compressed = json({"check", "a.bit", "--load", "compressed"});
    EXPECT_EQ(compressed["check"]["plain"], nullptr);
    EXPECT_EQ(compressed["check"]["compressed"]["starts"], true);
    EXPECT_EQ(compressed["check"]["result"], "yes");
    EXPECT_EQ(compressed["problems"][0]["fatal"], false) << "what stops a plain load alone is a note";
    const nlohmann::json plain = json({"check", "a.bit", "--load", "plain"});
    EXPECT_EQ(plain["check"]["plain"]["starts"], false);
    EXPECT_EQ(plain["check"]["compressed"], nullptr);
    EXPECT_EQ(plain["problems"][0]["fatal"], true);
    const nlohmann::json untried = json({"check", "a.bit", "--device", "z80"})["check"];
    EXPECT_EQ(untried["plain"], nullptr);
    EXPECT_EQ(untried["compressed"], nullptr);
}

TEST_F(KvnCheck, ANoHasAProblem)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json other = json({"check", "a.bit", "--device", "3s500ecp132"});
    EXPECT_EQ(other["check"]["result"], "no");
    EXPECT_EQ(other["problems"][0]["what"], "no module carries a 3s500ecp132");
}

TEST_F(KvnCheck, LeavesNoTraceAndReadsNoRack)
{
    make("2v40cs144-4", "a.bit");
    const Outcome outcome =
        run({KVN_PROGRAM,
             {"check", "a.bit"},
             folder,
             {{"MWVIRTUAL_TRACE", (folder / "trace").string()}, {"MWVIRTUAL_RACK", "nothing.toml"}}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_FALSE(std::filesystem::exists(folder / "trace"));
}
} // namespace
