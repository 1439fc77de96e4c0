// SPDX-License-Identifier: Apache-2.0
#include "support/special_files.h"
#include "utility_fixture.h"

#include <gmock/gmock.h>

namespace
{
class UtilityRun : public UtilityTest
{
protected:
    UtilityRun() { use_test_provider(); }
};

TEST_F(UtilityRun, PrintsTheLastErrorAndExitsByItsClass)
{
    write_rbt("design.rbt");
    RbtFile{8}.device("2v80cs144").write(path("other.rbt"));
    write("cut.rbt", content("design.rbt").substr(0, content("design.rbt").size() - 10));
    const struct {
        std::vector<std::string> arguments;
        std::string error;
        int status;
    } failures[] = {
        {{"-x"}, "Error 9002. Unknown option -x.", 2},
        {{"-s5"}, "Error 9000. Slot 5 is not a valid slot (must be 1,2,3 or 4).", 2},
        {{"a.con", "b.con"}, "Error 9003. A con file was defined twice or more.", 2},
        {{"-u"}, "Error 9052. No RBT, MCB, or BIT file specified (-f option).", 2},
        {{"-u", "-fnone"}, "Error 9041. Cannot find/open none.[rbt/mcb/bit] file.", 3},
        {{"-u", "-fdesign"}, "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.", 2},
        {{"-u", "-fcut", "-dmwc4a", "-b0", "-s2"},
         "Error 9107. Incorrect line length (23), bit_count = 224, in RBT file cut.rbt.",
         4},
        {{"-u", "-fother", "-dmwc4a", "-b0", "-s2"},
         "Error 9103. Bitstream other.rbt is not for a 2v40cs144-4 device.",
         5},
        {{"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"},
         "Error 9220. There is no module in slot 1 of board mwc4a 0.",
         6},
        {{"none"}, "Error 9020. Failed to find/open file \"none.con\".", 3},
    };
    for (const auto& [arguments, error, status] : failures) {
        const Outcome outcome = run(kvn_fpga(arguments));
        EXPECT_EQ(outcome.status, status) << error;
        EXPECT_EQ(outcome.errors, error + "\n");
    }
}

TEST_F(UtilityRun, LoadsThroughThePlatformCallByCall)
{
    RbtFile{bytes("FF FF FF FF  FF FF FF FF  01 02 02 03  00 00 00 80")}
        .device("2v40cs144")
        .write(path("design.rbt"));
    const Outcome outcome = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b3", "-s2"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output,
              "\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x32 (via 'mwc4a 3')\n"
              "The module in slot 0x32 is a KAVRIN-FPGA4 version 1.\n"
              "The module supports loading of compressed bitstreams.\n"
              "The FPGA on this module is a 2v40 device, in an cs144 package.\n"
              "The FPGA speed grade is -4.\n"
              "Checking header section of the file <design.rbt>.\n"
              "Sending in compressed format.\n"
              "\r% Done: 100\n"
              "The bitstream has been downloaded.\n"
              "Configuration was successful.\n");
    EXPECT_THAT(
        lines("journal"),
        testing::ElementsAre(
            "MwOpenS(mwc4a, 3, ksb, null, 0)", "MwInitIoStatus(device, 0)", "MwInitIoStatus(device, 0)",
            "MwGetBoardInfo(mwc4a, 3, 0)", "MwKSBSendMessageEx(device, 1, 3, 2, , 5000)",
            "MwKSBReceiveMessageEx(device, 3, 2, 30, 5000)", "MwKSBSendMessageEx(device, 11, 3, 2, , 5000)",
            "MwKSBReceiveMessageEx(device, 3, 2, 30, 5000)", "MwKSBStartSendMessageEx(device, 3, 2, 5000)",
            "MwKSBSendMessageDataEx(device, 0D 1D, 5000)",
            "MwKSBSendMessageDataEx(device, 08 FF 01 01 02 02 01 03, 5000)",
            "MwKSBSendMessageDataEx(device, 03 00 01 80, 5000)", "MwKSBEndOfSendMessageEx(device, 5000)",
            "MwKSBStartReceiveMessageEx(device, 0, 5000)", "MwKSBReceiveMessageDataEx(device, 2, 0, 5000)",
            "MwKSBEndOfReceiveMessageEx(device, 5000)", "MwClose(device)"));
}

TEST_F(UtilityRun, ShowsThePlatformsWords)
{
    write_rbt("design.rbt");
    variables["KVN_TEST_FAIL"] = "MwOpenS 0x80000001";
    EXPECT_EQ(run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b3", "-s2"})).errors,
              "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (code 0x80000001).\n");
}

TEST_F(UtilityRun, ExitsWith8WhenTheModuleRefuses)
{
    write_rbt("design.rbt");
    variables["KVN_TEST_STATUS"] = "7";
    const Outcome outcome = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b3", "-s2"}));
    EXPECT_EQ(outcome.status, 8);
    EXPECT_EQ(outcome.errors, "Error 9118. Configuration was unsuccessful (7).\n");
}

TEST_F(UtilityRun, PrintsTheErrorBehindAllThatCameBeforeItInOnePipe)
{
    write_rbt("design.rbt");
    Command both = kvn_fpga(
        {"-c", "exec \"$0\" \"$@\" 2>&1", KVN_FPGA_PROGRAM, "-u", "-fdesign", "-dmwc4a", "-b0", "-s1"});
    both.program = "/bin/sh";
    EXPECT_EQ(run(both).output,
              "\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x1 (via 'mwc4a 0')\n"
              "Error 9220. There is no module in slot 1 of board mwc4a 0.\n");
}

TEST_F(UtilityRun, TakesTheBoardFromTheEnvironment)
{
    write_rbt("design.rbt");
    variables["MWAPIKSB"] = "mwc4a 9";
    EXPECT_EQ(run(kvn_fpga({"-u", "-fdesign", "-s2"})).status, 0);
    EXPECT_EQ(lines("journal").front(), "MwOpenS(mwc4a, 9, ksb, null, 0)");
}

TEST_F(UtilityRun, ConfiguresFromADescriptionFile)
{
    write_rbt("design.rbt");
    write_whole_file(path("rack.con"),
                     "\"File Type Board Slot\ndesign mwc4a 1 0x12\ndesign.rbt mwc4a 2 0x22\n");
    const Outcome outcome = run(kvn_fpga({"rack"}));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.ends_with("0x2 modules sucessfully configured.\n"));
}

TEST_F(UtilityRun, AsksForWhatItIsNotTold)
{
    write_rbt("design.rbt");
    Terminal terminal{kvn_fpga({})};
    terminal.expect("Enter the name of the bitstream RBT, MCB, or BIT file:\n> ");
    terminal.type("design.txt\n");
    terminal.expect("Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n"
                    "Enter the name of the bitstream RBT, MCB, or BIT file:\n> ");
    terminal.type("design\n");
    terminal.expect("What board do you want to open (eg mwc3a, mwc4a)? \n> ");
    terminal.type("mwc4a\n");
    terminal.expect("Board mwc4a, but what board number? \n> ");
    terminal.type("5\n");
    terminal.expect("Searching for KAVRIN-FPGA and KAVRIN-IO modules\n"
                    "\nA KAVRIN-FPGA4 version 1 has been found in slot 2 of board 5.\n");
    terminal.expect("Is this the module you want to load (y/n)? \n");
    terminal.type("y\n");
    terminal.expect("Checking header section of the file <design.rbt>.\n"
                    "Press return to send configuration bitstream.\n");
    EXPECT_THAT(lines("journal"),
                testing::Not(testing::Contains("MwKSBStartSendMessageEx(device, 5, 2, 5000)")));
    terminal.type("\n");
    terminal.expect("Configuration was successful.\nPress return to continue.\n");
    terminal.type("\n");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_EQ(lines("journal").back(), "MwClose(device)");
}

TEST_F(UtilityRun, EndsWhenEveryModuleIsDeclined)
{
    write_rbt("design.rbt");
    Terminal terminal{kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b0"})};
    terminal.expect("Is this the module you want to load (y/n)? \n");
    terminal.type("n\n");
    terminal.expect("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured.\n");
    EXPECT_EQ(terminal.finish(), 6);
}

TEST_F(UtilityRun, ShowsProgressOnATerminalWhileItLoads)
{
    // 1000 words are 32000 bits in 500 pieces; the first report comes behind 20000 bits.
    write_rbt("design.rbt", 1000);
    variables["KVN_TEST_HOLD"] = path("hold");
    make_fifo(path("hold"));
    Terminal terminal{kvn_fpga({"-u", "-n", "-fdesign", "-dmwc4a", "-b0", "-s2"})};
    terminal.expect("\r% Done: 62");
    // The platform holds the 400th piece until the pipe is opened, so the rest is still to come.
    EXPECT_TRUE(terminal.shown().ends_with("\r% Done: 62"));
    write("hold", "");
    terminal.expect("\r% Done: 100\nThe bitstream has been downloaded.\nConfiguration was successful.\n");
    EXPECT_EQ(terminal.finish(), 0);
}
} // namespace
