// SPDX-License-Identifier: Apache-2.0
#include "utility_fixture.h"

#include <gmock/gmock.h>

namespace
{
class UtilityStreams : public UtilityTest
{
protected:
    UtilityStreams()
    {
        use_test_provider();
        write_rbt("design.rbt", 4000);
    }
};

TEST_F(UtilityStreams, EndOfInputWhereANameIsAskedForEndsTheRun)
{
    const Outcome outcome = run(kvn_fpga({"-dmwc4a", "-b0", "-s2"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "Error 9052. No RBT, MCB, or BIT file specified (-f option).\n");
    EXPECT_EQ(outcome.output, "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ");
}

TEST_F(UtilityStreams, EndOfInputWhereABoardIsAskedForGivesAnEmptyTypeAndBoard0)
{
    EXPECT_EQ(run(kvn_fpga({"-fdesign", "-s2"})).status, 0);
    EXPECT_EQ(lines("journal").front(), "MwOpenS(, 0, ksb, null, 0)");
}

TEST_F(UtilityStreams, EndOfInputDeclinesAModule)
{
    const Outcome outcome = run(kvn_fpga({"-fdesign", "-dmwc4a", "-b0"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured.\n");
}

TEST_F(UtilityStreams, AnswersMayComeFromAFile)
{
    const Outcome outcome = run(kvn_fpga({}), "design\nmwc4a\n4\nyes\n\n\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(lines("journal").front(), "MwOpenS(mwc4a, 4, ksb, null, 0)");
}

TEST_F(UtilityStreams, LostOutputCutsOffNoLoad)
{
    const Output lost[] = {Output::closed, Output::full, Output::without_reader};
    for (const Output output : lost) {
        const Outcome outcome = run(kvn_fpga({"-v", "-fdesign", "-dmwc4a", "-b0", "-s2"}), "", output);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(lines("journal").back(), "MwClose(device)");
        std::filesystem::remove(folder / "journal");
    }
}

TEST_F(UtilityStreams, ClosedOutputIsNotMistakenForAFileOfTheRun)
{
    // Large enough for more progress output than the stream's buffer holds.
    write_rbt("large.rbt", 600'000);
    EXPECT_EQ(run(kvn_fpga({"-c", "-flarge"})).status, 0);
    const std::string expected = content("large.mcb");
    ASSERT_FALSE(expected.empty());
    std::filesystem::remove(folder / "large.mcb");
    EXPECT_EQ(run(kvn_fpga({"-c", "-flarge"}), "", Output::closed).status, 0);
    EXPECT_TRUE(content("large.mcb") == expected) << "the progress has been written into the file";
}
} // namespace
