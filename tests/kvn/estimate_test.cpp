// SPDX-License-Identifier: Apache-2.0
// kvn estimate: the figures of both modes.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;

class KvnEstimate : public KvnOnBoards
{
};

TEST_F(KvnEstimate, GivesBytesUnitsAndSecondsOfBothModes)
{
    make("v50pq240-5", "a.bit");
    const Outcome estimated = kvn({"estimate", "a.bit", "--plain", "--bytes-per-second", "1000"});
    EXPECT_EQ(estimated.status, 0);
    EXPECT_THAT(estimated.output, testing::StartsWith("File:           a.bit\nMode:           plain: "));
    EXPECT_THAT(
        estimated.output,
        HasSubstr("\nPlain:          69886 bytes on the wire, 17471 words, 16 bytes held back, 69.886 s\n"
                  "Compressed:     "));
}

TEST_F(KvnEstimate, IsWhatTheLoadThenSends)
{
    use_rack();
    variables["MWVIRTUAL_RACK"] = path("rack.toml");
    make("2v40cs144-4", "a.rbt");
    for (const char* mode : {"--plain", "--compressed"}) {
        const nlohmann::json estimated = json({"estimate", "a.rbt", mode});
        const nlohmann::json& chosen = estimated[estimated["mode"].get<std::string>()];
        EXPECT_EQ(json({"load", "a.rbt", "mwc4a:0/1", mode})["wire_bytes"], chosen["bus_bytes"]) << mode;
    }
}

TEST_F(KvnEstimate, AFileThatIsNotSentToItsEndIsAnError)
{
    make("2v40cs144-4", "a.rbt", "title");
    const Outcome estimated = kvn({"estimate", "a.rbt"});
    EXPECT_EQ(estimated.status, 4);
    EXPECT_THAT(estimated.errors, testing::StartsWith("kvn: a.rbt: Error 9"));
    EXPECT_EQ(kvn({"estimate", "none.rbt"}).status, 3);
    EXPECT_EQ(kvn({"estimate", "a.rbt", "--bytes-per-second", "0"}).status, 2);
}

TEST_F(KvnEstimate, PrintsJson)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json document = json({"estimate", "a.bit", "--smallest", "--bytes-per-second", "1000"});
    EXPECT_EQ(document["kvn"], "estimate");
    EXPECT_EQ(document["mode"], "compressed");
    EXPECT_EQ(document["plain"]["bus_bytes"], 42374);
    EXPECT_DOUBLE_EQ(document["plain"]["seconds"].get<double>(), 42.374);
}
} // namespace
