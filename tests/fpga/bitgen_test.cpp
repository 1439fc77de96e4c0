// SPDX-License-Identifier: Apache-2.0
// The program kvn_bitgen: files, refusals and their words.
#include "support/folder_test.h"
#include "support/process.h"

#include <string>
#include <utility>
#include <vector>

namespace
{

class Bitgen : public FolderTest
{
protected:
    /// Runs the program in the test's folder; its errors stand in the output.
    [[nodiscard]] Outcome run(std::vector<std::string> arguments) const
    {
        return ::run({BITGEN, std::move(arguments), folder}, "", Output::with_errors);
    }
};

TEST_F(Bitgen, WritesAnRbtFileOfTheDevicesSize)
{
    const Outcome result = run({"XC2V40CS144-4", "-o", "a.rbt"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "");
    const std::string file = content("a.rbt");
    EXPECT_TRUE(file.starts_with("Xilinx ASCII Bitstream\nCreated by kvn_bitgen\nDesign name: \texample.ncd\n"
                                 "Architecture:\tvirtex2\nPart:        \t2v40cs144\n"
                                 "Date:        \tFri Feb 17 12:00:00 2006\nBits:        \t338976\n"));
    EXPECT_EQ(file.size() - file.find("338976\n") - 7, 338976U / 32 * 33);
}

TEST_F(Bitgen, WritesABitFileAndRepeatsItself)
{
    EXPECT_EQ(run({"2s15", "-o", "a.bit", "--fill", "random", "--seed", "9"}).status, 0);
    EXPECT_EQ(run({"2s15", "-o", "b.bit", "--fill", "random", "--seed", "9"}).status, 0);
    EXPECT_EQ(content("a.bit"), content("b.bit"));
    EXPECT_EQ(run({"2s15", "-o", "b.bit", "--fill", "random", "--seed", "10"}).status, 0);
    EXPECT_NE(content("a.bit"), content("b.bit"));
}

TEST_F(Bitgen, DefectsChangeTheFile)
{
    EXPECT_EQ(run({"2s15", "-o", "good.bit"}).status, 0);
    for (const char* defect : {"no-sync", "crc", "id", "short", "flipped-bit", "no-start", "title",
                               "missing-key", "stated-size", "trailing-bytes"}) {
        EXPECT_EQ(run({"2s15", "-o", "bad.bit", "--defect", defect}).status, 0) << defect;
        EXPECT_NE(content("bad.bit"), content("good.bit")) << defect;
    }
}

TEST_F(Bitgen, RefusalsSayWhy)
{
    const struct {
        std::vector<std::string> arguments;
        const char* words;
        int status = 2;
    } refusals[] = {
        {{"2v41", "-o", "a.rbt"}, "kvn_bitgen: unknown device 2v41 (kvn_bitgen --list names them)\n"},
        {{"2v40", "-o", "a.mcb"}, "kvn_bitgen: the name of the output must end in .rbt or .bit\n"},
        {{"2v40"}, "kvn_bitgen: a device and --output are needed (see --help)\n"},
        {{"2v40", "-o", "no/a.rbt"}, "kvn_bitgen: cannot create no/a.rbt\n", 3},
        {{"s10xl", "-o", "a.rbt"},
         "kvn_bitgen: the data are not a multiple of 32 bits long, so lines of 32 characters cannot hold them\n"},
        {{"s10", "-o", "a.rbt", "--defect", "no-start"},
         "kvn_bitgen: streams of this family hold no start-up command\n"},
        {{"2v40", "-o", "a.bit", "--defect", "short-line"},
         "kvn_bitgen: a BIT file cannot have this defect\n"}};
    for (const auto& [arguments, words, status] : refusals) {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.status, status) << words;
        EXPECT_EQ(result.output, words);
    }
    EXPECT_EQ(run({"2v40", "-o", "a.rbt", "--defect", "luck"}).status, 2);
    EXPECT_EQ(run({"--unknown"}).status, 2);
    EXPECT_EQ(run({"--help"}).status, 0);
}

TEST_F(Bitgen, ReportsOutputThatCannotBeWritten)
{
    for (const char* option : {"--list", "--help"}) {
        const Outcome result = ::run({BITGEN, {option}, folder}, "", Output::full);
        EXPECT_EQ(result.status, 3) << option;
        EXPECT_EQ(result.errors, "kvn_bitgen: cannot write to standard output\n") << option;
    }
    std::filesystem::create_symlink("/dev/full", folder / "full.bit");
    const Outcome full = run({"2v40", "-o", "full.bit"});
    EXPECT_EQ(full.status, 3);
    EXPECT_EQ(full.output, "kvn_bitgen: cannot write full.bit\n");
}

TEST_F(Bitgen, ListsTheDevices)
{
    EXPECT_NE(run({"--list"}).output.find("2v3000\tVirtex-2\t10494368\n"), std::string::npos);
}

} // namespace
