// SPDX-License-Identifier: Apache-2.0
#include "utility_fixture.h"

#include <gmock/gmock.h>

namespace
{
const std::string simulated =
    "KVN_FPGA: KVN_MWAPI is virtual: the boards are simulated, no hardware is reached.\n";

/// Whole runs on virtual boards, with bitstreams of the devices' real sizes.
class UtilityVirtual : public UtilityTest
{
protected:
    UtilityVirtual()
    {
        variables["KVN_MWAPI"] = "virtual";
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        write_whole_file(path("rack.toml"), R"(
[[board]]
type = "mwc4a"
number = 0

[[board.slot]]
number = 1
kind = "fpga"
model = 4
version = 2
device = "2v40cs144-4"
compression = "query"

[[board.slot]]
number = 2
kind = "fpga"
model = 3
version = 1
device = "v50pq240-5"
)");
    }

    /// Writes an example bitstream; the extension of the name gives the format.
    void make_bitstream(const std::string& device, const std::string& file) const
    {
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, {device, "-o", file}, folder, {}}).status, 0);
    }

    /// Loads a file into a slot and expects the module to start.
    void expect_load(const std::string& file, const std::string& slot, const std::string& last_lines) const
    {
        const Outcome outcome = run(kvn_fpga({"-u", "-f" + file, "-dmwc4a", "-b0", "-s" + slot}));
        EXPECT_EQ(outcome.status, 0) << file;
        EXPECT_EQ(outcome.errors, simulated);
        EXPECT_TRUE(outcome.output.ends_with(last_lines)) << outcome.output;
    }
};

TEST_F(UtilityVirtual, LoadsEveryFormatIntoAModuleThatTakesCompressedData)
{
    make_bitstream("2v40cs144-4", "design.rbt");
    make_bitstream("2v40cs144-4", "other.bit");
    ASSERT_EQ(run(kvn_fpga({"-c", "-fdesign"})).status, 0);
    expect_load("design.rbt", "1", "\nConfiguration was successful.\n");
    expect_load("other.bit", "1", "\nConfiguration was successful.\n");
    expect_load("design.mcb", "1", "\nConfiguration was successful.\n");
}

TEST_F(UtilityVirtual, LoadsEveryFormatIntoAnOlderModule)
{
    make_bitstream("v50pq240-5", "design.rbt");
    make_bitstream("v50pq240-5", "other.bit");
    ASSERT_EQ(run(kvn_fpga({"-c", "-fother.bit"})).status, 0);
    expect_load("design.rbt", "2", "\nConfiguration was successful.\n");
    expect_load("other.bit", "2", "\nConfiguration was successful.\n");
    expect_load("other.mcb", "2", "\nConfiguration was successful.\n");
}

TEST_F(UtilityVirtual, TellsThatItSimulatesOnlyWhenABoardIsReached)
{
    make_bitstream("2v40cs144-4", "design.rbt");
    EXPECT_EQ(run(kvn_fpga({"-c", "-fdesign"})).errors, "");
}

TEST_F(UtilityVirtual, RefusesTheBitstreamOfAnotherDevice)
{
    make_bitstream("v50pq240-5", "design.rbt");
    const Outcome outcome = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}));
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(outcome.errors,
              simulated + "Error 9103. Bitstream design.rbt is not for a 2v40cs144-4 device.\n");
}

TEST_F(UtilityVirtual, ReportsADamagedBitstream)
{
    ASSERT_EQ(
        run({KVN_BITGEN_PROGRAM, {"2v40cs144-4", "-o", "design.rbt", "--defect", "crc"}, folder, {}}).status,
        0);
    const Outcome outcome = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}));
    EXPECT_EQ(outcome.status, 8);
    EXPECT_EQ(outcome.errors, simulated + "Error 9118. Configuration was unsuccessful (2).\n");
}

TEST_F(UtilityVirtual, ConfiguresTheWholeRackFromADescriptionFile)
{
    make_bitstream("2v40cs144-4", "design.rbt");
    make_bitstream("v50pq240-5", "older.rbt");
    ASSERT_EQ(run(kvn_fpga({"-c", "-folder"})).status, 0);
    write_whole_file(path("rack.con"), "design     mwc4a 0 1\nolder.mcb  mwc4a 0 2\n");
    const Outcome outcome = run(kvn_fpga({"rack.con"}));
    EXPECT_EQ(outcome.errors, simulated);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.ends_with("\n0x2 modules sucessfully configured.\n"));
}

TEST_F(UtilityVirtual, LetsTheUserChooseTheModule)
{
    make_bitstream("v50pq240-5", "design.rbt");
    Terminal terminal{kvn_fpga({"-fdesign", "-dmwc4a", "-b0"})};
    terminal.expect("A KAVRIN-FPGA4 version 2 has been found in slot 1 of board 0.\n");
    terminal.expect("Is this the module you want to load (y/n)? \n");
    terminal.type("n\n");
    terminal.expect("A KAVRIN-FPGA3 version 1 has been found in slot 2 of board 0.\n"
                    "The module does NOT support loading of compressed bitstreams.\n");
    terminal.expect("Is this the module you want to load (y/n)? \n");
    terminal.type("Y\n");
    terminal.expect("Press return to send configuration bitstream.\n");
    terminal.type("\n");
    terminal.expect("Configuration was successful.\nPress return to continue.\n");
    terminal.type("\n");
    EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(UtilityVirtual, ReportsAMistakeInTheRackByTheOrdinaryConvention)
{
    make_bitstream("2v40cs144-4", "design.rbt");
    write_whole_file(path("rack.toml"), "[[board]]\ntype = 4\n");
    const Outcome outcome = run(kvn_fpga({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}));
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.errors,
                testing::HasSubstr("Error 9201. Cannot open KSB device on board \"mwc4a 0\" ("));
    EXPECT_THAT(outcome.errors, testing::HasSubstr("rack.toml:2: "));
}
} // namespace
