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
    EXPECT_EQ(outcome.status, 2);
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
    EXPECT_EQ(outcome.status, 6);
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
    const struct {
        Output output;
        int status;
        std::string errors;
    } lost[] = {
        {Output::closed, 0, ""},
        {Output::full, 3, "KVN_FPGA: cannot write to standard output: No space left on device\n"},
        {Output::without_reader, 0, ""},
    };
    for (const auto& [output, status, errors] : lost) {
        const Outcome outcome = run(kvn_fpga({"-v", "-fdesign", "-dmwc4a", "-b0", "-s2"}), "", output);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(lines("journal").back(), "MwClose(device)");
        std::filesystem::remove(folder / "journal");
    }
}

TEST_F(UtilityStreams, AFailedRunKeepsItsErrorWhenOutputIsFullToo)
{
    const Outcome outcome = run(kvn_fpga({"-fdesign", "-dmwc4a", "-b0", "-s1"}), "", Output::full);
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(outcome.errors, "Error 9220. There is no module in slot 1 of board mwc4a 0.\n");
}

TEST_F(UtilityStreams, Error9112BeginsItsLineBehindProgress)
{
    const std::string whole = content("design.rbt");
    write("cut.rbt", whole.substr(0, whole.size() - 10));
    const Command load = kvn_fpga({"-u", "-n", "-fcut", "-dmwc4a", "-b0", "-s2"});
    const std::string error =
        "Error 9112. Incorrect line length (23), bit_count = 127968, in RBT file cut.rbt.\n";
    const Outcome apart = run(load);
    EXPECT_EQ(apart.errors, error);
    EXPECT_TRUE(apart.output.ends_with("\r% Done: 93")) << "standard output by itself stays as it is";
    EXPECT_EQ(run(load, "", Output::with_errors).output, apart.output + "\n" + error);

    Terminal terminal{load};
    EXPECT_EQ(terminal.finish(), 4);
    EXPECT_THAT(terminal.shown(), testing::EndsWith("\r% Done: 93\n" + error));
}

TEST_F(UtilityStreams, Error9112BeginsItsLineOnATerminalThatAlsoShowsAPipe)
{
    const std::string whole = content("design.rbt");
    write("cut.rbt", whole.substr(0, whole.size() - 10));
    Command both = kvn_fpga({"-c", R"("$0" "$@" | { read -r _; cat >kept; })", KVN_FPGA_PROGRAM, "-u", "-n",
                             "-fcut", "-dmwc4a", "-b0", "-s2"});
    both.program = "/bin/sh";
    Terminal terminal{both};
    terminal.finish();
    EXPECT_EQ(terminal.shown(),
              "\nError 9112. Incorrect line length (23), bit_count = 127968, in RBT file cut.rbt.\n");
}

TEST_F(UtilityStreams, AnErrorBeginsItsLineBehindAQuestion)
{
    const Command ask = kvn_fpga({"-dmwc4a", "-b0", "-s2"});
    const std::string question = "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ";
    const std::string error = "Error 9041. Cannot find/open none.[rbt/mcb/bit] file.\n";
    EXPECT_EQ(run(ask, "none\n", Output::with_errors).output, question + "\n" + error);
    const Outcome apart = run(ask, "none\n");
    EXPECT_EQ(apart.output, question);
    EXPECT_EQ(apart.errors, error);
}

TEST_F(UtilityStreams, AnErrorFollowsAnAnswerThatTheTerminalHasShown)
{
    Command shell =
        kvn_fpga({"-c", "stty echo opost; \"$0\" \"$@\"", KVN_FPGA_PROGRAM, "-dmwc4a", "-b0", "-s2"});
    shell.program = "/bin/sh";
    Terminal terminal{shell};
    terminal.expect("> ");
    terminal.type("none\n");
    EXPECT_EQ(terminal.finish(), 3);
    EXPECT_TRUE(terminal.shown().ends_with("> none\nError 9041. Cannot find/open none.[rbt/mcb/bit] file.\n"))
        << terminal.shown();
}

TEST_F(UtilityStreams, ControlCharactersOfFilesAreEscapedOnATerminalOnly)
{
    BitFile bit{Bytes(32, 0xFF)};
    bit.date = "\x1B[31m\x07\xC2\x9B 2006\r\xC3\xA9";
    write("odd.bit", bit.content());
    const Command convert = kvn_fpga({"-c", "-u", "-v", "-fodd.bit"});
    EXPECT_THAT(run(convert).output,
                testing::HasSubstr("Time and date string is:\n\x1B[31m\x07\xC2\x9B 2006\r\xC3\xA9 "));
    Terminal terminal{convert};
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(),
                testing::HasSubstr("Time and date string is:\n\\x1B[31m\\x07\\xC2\\x9B 2006\\x0D\xC3\xA9 "));
    // Windows' consoles leave out a carriage return at the beginning of a line.
    EXPECT_THAT(terminal.shown(), testing::ContainsRegex("\n\r?% Done: 100"));
}

TEST_F(UtilityStreams, ControlCharactersInErrorsAreEscapedOnATerminalOnly)
{
    const Command load = kvn_fpga({"-u", "-fa\x1B[2J\nError 1"});
    EXPECT_EQ(run(load).errors, "Error 9041. Cannot find/open a\x1B[2J\nError 1.[rbt/mcb/bit] file.\n");
    Terminal terminal{load};
    EXPECT_EQ(terminal.finish(), 3);
    EXPECT_EQ(terminal.shown(), "Error 9041. Cannot find/open a\\x1B[2J\\x0AError 1.[rbt/mcb/bit] file.\n");
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
