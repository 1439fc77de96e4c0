// SPDX-License-Identifier: Apache-2.0
// kvn diff: the result, the frames and what is refused.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;
using testing::Not;

class KvnDiff : public KvnTest
{
protected:
    /// A bit of the configuration differs in b.bit.
    void make_two() const
    {
        make("2v40cs144-4", "a.bit");
        std::string file = content("a.bit");
        file[file.size() / 2] = static_cast<char>(file[file.size() / 2] ^ 1);
        write("b.bit", file);
    }
};

TEST_F(KvnDiff, TwoFormsOfADesignAreTheSame)
{
    make("2v40cs144-4", "a.mcb");
    const Outcome same = kvn({"diff", "a.bit", "a.mcb"});
    EXPECT_EQ(same.status, 0);
    EXPECT_THAT(same.output, HasSubstr("First:          a.bit, 338976 bits\n"
                                       "Second:         a.mcb, 338976 bits\n"
                                       "Result:         same configuration"));
}

TEST_F(KvnDiff, ShowsTheFrameThatDiffers)
{
    make_two();
    const Outcome different = kvn({"diff", "a.bit", "b.bit"});
    EXPECT_EQ(different.status, 0);
    EXPECT_THAT(different.output, HasSubstr("\nBlock  Major  Minor  Bits\n"));
    EXPECT_THAT(different.output, HasSubstr("\nFirst at bit:   "));
    EXPECT_EQ(kvn({"diff", "a.bit", "b.bit"}).output, kvn({"diff", "a.bit", "b.bit", "--all"}).output);
}

TEST_F(KvnDiff, ShowsTwentyFramesUnlessAllAreWanted)
{
    make("2v40cs144-4", "a.bit");
    ASSERT_EQ(
        run({KVN_BITGEN_PROGRAM, {"2v40cs144-4", "-o", "b.bit", "--fill", "random"}, folder, {}}).status, 0);
    EXPECT_THAT(kvn({"diff", "a.bit", "b.bit"}).output,
                testing::EndsWith("\n384 more frames differ; --all shows them\n"));
    EXPECT_THAT(kvn({"diff", "a.bit", "b.bit", "--all"}).output, Not(HasSubstr("more frames differ")));
}

TEST_F(KvnDiff, WhatHasNoConfigurationIsRefused)
{
    make("2v40cs144-4", "a.bit");
    write("text.rbt", "hello\n");
    EXPECT_EQ(kvn({"diff", "a.bit", "text.rbt"}).status, 4);
    EXPECT_EQ(kvn({"diff", "a.bit", "none.bit"}).status, 3);
    EXPECT_EQ(kvn({"diff", "a.bit"}).status, 2);
}

TEST_F(KvnDiff, PrintsJson)
{
    make_two();
    const nlohmann::json document = json({"diff", "a.bit", "b.bit"});
    EXPECT_EQ(document["kvn"], "difference");
    EXPECT_EQ(document["same_configuration"], false);
    EXPECT_EQ(document["bits"], 1);
    EXPECT_EQ(document["frames"].size(), 1U);
    EXPECT_EQ(json({"diff", "a.bit", "a.bit"})["same_configuration"], true);
}
} // namespace
