// SPDX-License-Identifier: Apache-2.0
// The choice between the two converters to MCB.
#include "support/bitstreams.h"
#include "support/run_fixture.h"

#include <cstring>

namespace
{
using MakeMcb = RunFixture;
} // namespace

TEST_F(MakeMcb, Kind0IsAnRbtFile)
{
    RbtFile{}.write();
    std::strcpy(session.bitstream_file, "design.rbt");
    EXPECT_EQ(result(session.Make_mcb_file(std::fopen("design.rbt", "r"), 0)), Succeeds());
    EXPECT_TRUE(file_exists("design.mcb"));
}

TEST_F(MakeMcb, Kind1IsABitFile)
{
    BitFile{}.write();
    std::strcpy(session.bitstream_file, "design.bit");
    EXPECT_EQ(result(session.Make_mcb_file(std::fopen("design.bit", "rb"), 1)), Succeeds());
    EXPECT_TRUE(file_exists("design.mcb"));
}

// The stream stays open.
TEST_F(MakeMcb, Error9400ForAnyOtherKindLeavesTheStreamOpen)
{
    RbtFile{}.write();
    for (const int kind : {2, -1}) {
        FILE* stream = std::fopen("design.rbt", "r");
        EXPECT_EQ(result(session.Make_mcb_file(stream, kind)),
                  Fails("Error 9400. Internal error. No RBT (0) or BIT (1) file selected (but " +
                        std::to_string(kind) + ")."));
        EXPECT_EQ(std::fgetc(stream), 'X');
        std::fclose(stream);
    }
    EXPECT_TRUE(log().empty());
}
