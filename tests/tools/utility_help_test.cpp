// SPDX-License-Identifier: Apache-2.0
#include "utility_fixture.h"

namespace
{
using UtilityHelp = UtilityTest;

const std::string pause = "\n\nPress any key to continue . . .\n";

TEST_F(UtilityHelp, WaitsForAKeyAfterEachOfThreePages)
{
    Terminal terminal{kvn_fpga({"--help"})};
    terminal.expect("KVN_FPGA   Kavrin-FPGA and Kavrin-IO Configuration Utility version 2.7 17/02/06\n");
    terminal.expect(pause);
    EXPECT_EQ(terminal.shown().find("Using KVN_FPGA:"), std::string::npos);
    terminal.type("\n");
    terminal.expect("Using KVN_FPGA:\n");
    terminal.expect(pause);
    EXPECT_EQ(terminal.shown().find("The Configuration Description File:"), std::string::npos);
    terminal.type("\n");
    terminal.expect("The Configuration Description File:\n");
    terminal.expect(pause);
    terminal.type("\n");
    EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(UtilityHelp, HasThreeNamesAndTheFirstInTheCommandLineCounts)
{
    const std::string help = run(kvn_fpga({"--help"})).output;
    EXPECT_TRUE(help.ends_with("       example.rbt     mwc4a          0         1\n" + pause));
    const std::vector<std::vector<std::string>> command_lines = {
        {"-h"}, {"-?"}, {"-v", "-h"}, {"boards.txt", "--help"}, {"-?", "--version"}};
    for (const auto& arguments : command_lines) {
        const Outcome outcome = run(kvn_fpga(arguments));
        EXPECT_EQ(outcome.status, 0) << arguments[0];
        EXPECT_EQ(outcome.output, help) << arguments[0];
        EXPECT_EQ(outcome.errors, "") << arguments[0];
    }
}

TEST_F(UtilityHelp, VersionIsTheLibrarys)
{
    const Outcome outcome = run(kvn_fpga({"--version"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "KVN_FPGA 2.7 17/02/06\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(UtilityHelp, OtherArgumentsThatLookAlikeGoToTheLibrary)
{
    const std::pair<std::string, std::string> arguments[] = {
        {"-H", "Error 9002. Unknown option -H.\n"},
        {"-help", "Error 9002. Unknown option -help.\n"},
        {"--versions", "Error 9002. Unknown option --versions.\n"},
    };
    for (const auto& [argument, error] : arguments) {
        const Outcome outcome = run(kvn_fpga({argument}));
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.errors, error);
        EXPECT_EQ(outcome.output, "");
    }
}

TEST_F(UtilityHelp, ReportsWhenItCouldNotBeWritten)
{
    const Outcome full = run(kvn_fpga({"--version"}), "", Output::full);
    EXPECT_EQ(full.status, 3);
    EXPECT_EQ(full.errors, "KVN_FPGA: cannot write to standard output: No space left on device\n");
    const Outcome unread = run(kvn_fpga({"--help"}), "", Output::without_reader);
    EXPECT_EQ(unread.status, 3);
    EXPECT_EQ(unread.errors, "KVN_FPGA: cannot write to standard output: Broken pipe\n");
}
} // namespace
