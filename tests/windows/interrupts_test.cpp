// SPDX-License-Identifier: Apache-2.0
// Ctrl-C at a console: the first lets what is under way finish, the second cuts it off.
#include "kvn/two_boards.h"

#include <gmock/gmock.h>

#include <csignal>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;

/// The status of a process that Ctrl-C has ended, as Windows sets it.
constexpr int ENDED_BY_CTRL_C = static_cast<int>(0xC000013A);

class CtrlC : public KvnOnTwoBoards
{
protected:
    void SetUp() override
    {
        KvnOnTwoBoards::SetUp();
        variables["NO_COLOR"] = "1";
    }
    [[nodiscard]] Command load() const { return command({"load", "design.bit", "mwc4a:0/1", "--plain"}); }
};

TEST_F(CtrlC, OnceLetsALoadFinish)
{
    use_boards("bytes_per_second = 10_000\n");
    Terminal console{load()};
    console.expect("mwc4a:0/1  0 %");
    console.signal(SIGINT);
    console.expect("kvn: what is under way is finished first; a second signal cuts it off\n");
    EXPECT_EQ(console.finish(), 11);
    EXPECT_THAT(console.shown(), HasSubstr("Result:         configured: its FPGA runs\n"));
    EXPECT_THAT(console.shown(), HasSubstr("kvn: ended by SIGINT\n"));
    EXPECT_EQ(states(), "mwc4a:0/1 running");
}

TEST_F(CtrlC, TwiceCutsALoadOff)
{
    use_boards("bytes_per_second = 1_000\n");
    Terminal console{load()};
    console.expect("mwc4a:0/1  0 %");
    console.signal(SIGINT);
    console.expect("a second signal cuts it off\n");
    console.signal(SIGINT);
    console.expect("kvn: what is under way is cut off\n");
    EXPECT_EQ(console.finish(), 11);
    EXPECT_THAT(console.shown(), HasSubstr("Result:         cancelled; the module is interrupted: it has "
                                           "part of the data and does not run\n"));
    EXPECT_EQ(states(), "mwc4a:0/1 part of its data");
}

TEST_F(CtrlC, OnceLetsARunBeginNothingNew)
{
    // One bus: each begins when its worker has started.
    plan({"mwc4a:0/1", "mwc4a:0/2"});
    use_boards("bytes_per_second = 10_000\n");
    Terminal console{command({"run", "plan.toml"})};
    console.expect("mwc4a:0/1  ");
    console.signal(SIGINT);
    console.expect("kvn: what is under way is finished first; a second signal cuts it off\n");
    EXPECT_EQ(console.finish(), 11);
    EXPECT_THAT(console.shown(), HasSubstr("Result:  1 configured, 1 not tried\n"));
    EXPECT_THAT(console.shown(), HasSubstr("kvn: ended by SIGINT\n"));
    EXPECT_EQ(states(), "mwc4a:0/1 running") << "it does not reach the worker";
}

TEST_F(CtrlC, TwiceCutsTheLoadsOfARunOff)
{
    use_boards("bytes_per_second = 1_000\n");
    Terminal console{command({"run", "plan.toml"})};
    console.expect("mwc4a:0/1  ");
    console.expect("mwc4a:1/1  ");
    console.signal(SIGINT);
    console.expect("a second signal cuts it off\n");
    console.signal(SIGINT);
    EXPECT_EQ(console.finish(), 11);
    EXPECT_THAT(console.shown(), HasSubstr("Result:  2 cancelled, 2 not tried\n"));
    EXPECT_EQ(states(), "mwc4a:0/1 part of its data, mwc4a:1/1 part of its data");
}

TEST_F(CtrlC, EndsTheUtilityAtAQuestionOnALineOfItsOwn)
{
    Terminal console{{KVN_FPGA_PROGRAM, {}, folder, variables}};
    console.expect("Enter the name of the bitstream RBT, MCB, or BIT file:\n> ");
    console.signal(SIGINT);
    EXPECT_EQ(console.finish(), ENDED_BY_CTRL_C);
    EXPECT_THAT(console.shown(), EndsWith("> \nKVN_FPGA: stopped by SIGINT before the load of a module: "
                                          "untouched, nothing of a load has reached a module\n"));
}

TEST_F(CtrlC, EndsTheUtilityInALoadAndTellsTheModulesState)
{
    use_boards("bytes_per_second = 2_000\n");
    Terminal console{
        {KVN_FPGA_PROGRAM, {"-u", "-n", "-fdesign.bit", "-dmwc4a", "-b0", "-s1"}, folder, variables}};
    console.expect("Checking header section of the file <design.bit>.\n");
    console.expect("% Done: ");
    console.signal(SIGINT);
    EXPECT_EQ(console.finish(), ENDED_BY_CTRL_C);
    EXPECT_THAT(console.shown(),
                EndsWith("\nKVN_FPGA: stopped by SIGINT while loading the module in slot 0x1: interrupted, "
                         "it has part of the data and does not run\n"));
}
} // namespace
