// SPDX-License-Identifier: Apache-2.0
// kvn digest: one line for each file.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
class KvnDigest : public KvnTest
{
};

TEST_F(KvnDigest, IsEqualForAllFormsOfADesign)
{
    make("2v40cs144-4", "a.rbt");
    make("2v40cs144-4", "b.mcb");
    const Outcome digests = kvn({"digest", "a.rbt", "b.bit", "b.mcb"});
    EXPECT_EQ(digests.status, 0);
    EXPECT_EQ(digests.errors, "");
    const std::string digest = digests.output.substr(0, 64);
    EXPECT_EQ(digest.find_first_not_of("0123456789abcdef"), std::string::npos) << digest;
    EXPECT_EQ(digests.output, digest + "  a.rbt\n" + digest + "  b.bit\n" + digest + "  b.mcb\n");
}

TEST_F(KvnDigest, AFileThatHasNoneLeavesTheOthersTheirs)
{
    make("2v40cs144-4", "a.bit");
    write("text.rbt", "hello\n");
    const Outcome digests = kvn({"digest", "none.bit", "text.rbt", "a.bit"});
    EXPECT_EQ(digests.status, 3) << "the first failure's";
    EXPECT_THAT(digests.output, testing::MatchesRegex("\\w+  a.bit\n"));
    EXPECT_THAT(digests.errors,
                testing::StartsWith("kvn: none.bit: No such file or directory\nkvn: text.rbt: "));
    EXPECT_EQ(kvn({"digest", "text.rbt"}).status, 4);
}

TEST_F(KvnDigest, PrintsJson)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json document = json({"digest", "a.bit", "none.bit"});
    EXPECT_EQ(document["kvn"], "digests");
    EXPECT_EQ(document["error"]["kind"], "file");
    EXPECT_EQ(document["files"][0]["file"], "a.bit");
    EXPECT_EQ(document["files"][0]["bits"], 338976);
    EXPECT_EQ(document["files"][0]["error"], nullptr);
    EXPECT_EQ(document["files"][1]["error"]["what"], "none.bit: No such file or directory");
}
} // namespace
