// SPDX-License-Identifier: Apache-2.0
// What programs show and ask at a console, and not without one.
#include "kvn/two_boards.h"

#include <gmock/gmock.h>

namespace
{
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using Console = KvnOnTwoBoards;

TEST_F(Console, ShowsColoursUnlessTheyAreRefused)
{
    const std::vector<std::string> words{"load", "design.bit", "mwc4a:0/1"};
    Terminal coloured{command(words)};
    EXPECT_EQ(coloured.finish(), 0);
    // Wine's consoles show the sequences, without their first character.
    EXPECT_THAT(coloured.shown(), ContainsRegex("\\[32mconfigured.*\\[0?m: its FPGA runs"));
    EXPECT_THAT(run(command(words)).output, Not(HasSubstr("\x1B")));
    variables["NO_COLOR"] = "1";
    Terminal plain{command(words)};
    EXPECT_EQ(plain.finish(), 0);
    EXPECT_THAT(plain.shown(), Not(HasSubstr("[32m")));
    EXPECT_THAT(plain.shown(), HasSubstr("configured: its FPGA runs"));
}

TEST_F(Console, HasARowOfALoadAndLinesAreForOthers)
{
    variables["NO_COLOR"] = "1";
    use_boards("bytes_per_second = 40_000\n");
    const std::vector<std::string> words{"load", "design.bit", "mwc4a:0/1", "--plain"};
    Terminal console{command(words)};
    EXPECT_EQ(console.finish(), 0);
    EXPECT_THAT(console.shown(), HasSubstr("mwc4a:0/1  0 %"));
    EXPECT_THAT(console.shown(), HasSubstr("\rmwc4a:0/1  100 %"));
    EXPECT_THAT(run(command(words)).errors, Not(HasSubstr("\r")));
}

TEST_F(Console, HasARowForEachBusOfARunAndOneOfCounts)
{
    variables["NO_COLOR"] = "1";
    use_boards("bytes_per_second = 40_000\n");
    Terminal console{command({"run", "plan.toml"})};
    EXPECT_EQ(console.finish(), 0);
    for (const char* row : {"mwc4a:0/1  ", "mwc4a:1/1  "}) // the buses begin when their workers have started
        EXPECT_THAT(console.shown(), HasSubstr(row));
    EXPECT_THAT(console.shown(), HasSubstr("of 4 modules: "));
}

TEST_F(Console, IsAskedForSerialNumbersAndNothingElseIs)
{
    variables["NO_COLOR"] = "1";
    plan({"mwc4a:0/1"}, "serial = \"ask\"\n");
    Terminal console{command({"run", "plan.toml", "--journal", "asked.journal"})};
    console.expect("Serial number of mwc4a:0/1: ");
    console.type("gr\u00FCn 4711\n");
    EXPECT_EQ(console.finish(), 0) << console.shown();
    EXPECT_THAT(content("asked.journal"), HasSubstr("\"serial_number\":\"gr\u00FCn 4711\""));

    const Outcome unasked = run(command({"run", "plan.toml"}), "4711\n");
    EXPECT_EQ(unasked.status, 10);
    EXPECT_THAT(unasked.output + unasked.errors, Not(HasSubstr("Serial number of")));
    EXPECT_EQ(run(command({"run", "plan.toml"}), "4711\n", Output::with_errors).status, 10);
}
} // namespace
