// SPDX-License-Identifier: Apache-2.0
// kvn convert: files, their report and what is refused.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;
using testing::StartsWith;

class KvnConvert : public KvnTest
{
};

TEST_F(KvnConvert, WritesEveryFormWithTheSameConfiguration)
{
    make("2v40cs144-4", "a.rbt");
    EXPECT_EQ(kvn({"convert", "a.rbt", "b.bit"}).status, 0);
    EXPECT_EQ(kvn({"convert", "b.bit", "--to", "mcb"}).status, 0);
    EXPECT_EQ(kvn({"convert", "b.mcb", "c.rbt"}).status, 0);
    const std::string digest = kvn({"digest", "a.rbt"}).output.substr(0, 64);
    for (const char* file : {"b.bit", "b.mcb", "c.rbt"})
        EXPECT_EQ(kvn({"digest", file}).output, digest + "  " + file + "\n");
}

TEST_F(KvnConvert, SaysWhatItHasWritten)
{
    make("2v40cs144-4", "a.bit");
    const Outcome done = kvn({"convert", "a.bit", "a.mcb"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.errors, "");
    EXPECT_THAT(done.output, StartsWith("Read:           a.bit, BIT\n"
                                        "Written:        a.mcb, MCB, 2746 bytes\n"
                                        "Configuration:  338976 bits\n"
                                        "Digest:         "));
    EXPECT_THAT(done.output, HasSubstr("\nPart:           2v40cs144\n"
                                       "Kept:           date, time\n"
                                       "Lost:           design; the form has no place for it\n"));
}

TEST_F(KvnConvert, KeepsAFileThatExistsUnlessToldOtherwise)
{
    make("2v40cs144-4", "a.bit");
    write("a.rbt", "kept");
    const Outcome refused = kvn({"convert", "a.bit", "a.rbt"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.output, "");
    EXPECT_THAT(refused.errors, StartsWith("kvn: a.rbt"));
    EXPECT_EQ(content("a.rbt"), "kept");
    EXPECT_EQ(kvn({"convert", "a.bit", "a.rbt", "--overwrite"}).status, 0);
    EXPECT_NE(content("a.rbt"), "kept");
}

TEST_F(KvnConvert, WritesToStandardOutputAndReportsOnStandardError)
{
    make("2v40cs144-4", "a.bit");
    const Outcome done = kvn({"convert", "-", "-", "--to", "mcb"}, content("a.bit"));
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.errors, HasSubstr("Written:        -, MCB, 2746 bytes\n"));
    ASSERT_EQ(kvn({"convert", "a.bit", "a.mcb"}).status, 0);
    EXPECT_EQ(done.output, content("a.mcb"));
    EXPECT_EQ(run(command({"convert", "a.bit", "-", "--to", "mcb"}), "", Output::full).status, 3);
}

TEST_F(KvnConvert, JsonAndFileDoNotShareStandardOutput)
{
    make("2v40cs144-4", "a.bit");
    const Outcome refused = kvn({"convert", "a.bit", "-", "--to", "mcb", "--json"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(nlohmann::json::parse(refused.output)["error"]["what"],
              "standard output cannot take both the file and the JSON; name a file as target");
}

TEST_F(KvnConvert, ATargetIsNeeded)
{
    EXPECT_EQ(kvn({"convert", "a.bit"}).errors,
              "kvn: neither a target nor --to is given; kvn convert --help tells more\n");
    EXPECT_EQ(kvn({"convert", "--help"}).status, 0) << "what the hint says";
    EXPECT_EQ(kvn({"convert", "a.bit", "--to", "mcp"}).errors,
              "kvn: --to: there is no mcp; did you mean mcb?; kvn convert --help tells more\n");
}

TEST_F(KvnConvert, ADamagedFileIsNotConverted)
{
    make("2v40cs144-4", "a.bit");
    write("a.bit", content("a.bit").substr(0, 9000));
    const Outcome refused = kvn({"convert", "a.bit", "a.rbt"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_FALSE(std::filesystem::exists(folder / "a.rbt"));
}

TEST_F(KvnConvert, NormalisesAndSaysWhatWasChanged)
{
    make("2v40cs144-4", "a.rbt", "carriage-returns");
    const Outcome done = kvn({"convert", "a.rbt", "b.rbt", "--normalise"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.output, HasSubstr("\nChanged:        "));
    EXPECT_EQ(kvn({"check", "b.rbt"}).status, 0);
}

TEST_F(KvnConvert, PrintsJson)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json document = json({"convert", "a.bit", "a.mcb"});
    EXPECT_EQ(document["kvn"], "conversion");
    EXPECT_EQ(document["error"], nullptr);
    EXPECT_EQ(document["target"], "a.mcb");
    EXPECT_EQ(document["bits"], 338976);
    EXPECT_EQ(json({"convert", "a.bit", "a.mcb"})["error"]["kind"], "file");
}
} // namespace
