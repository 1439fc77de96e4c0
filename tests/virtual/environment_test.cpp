// SPDX-License-Identifier: Apache-2.0
// The rack that MWVIRTUAL_RACK names, as a program meets it that knows nothing of virtual carriers.
#include "support/folder_test.h"
#include "support/process.h"
#include "support/special_files.h"

#include <string>
#include <utility>
#include <vector>

namespace
{

class Environment : public FolderTest
{
protected:
    [[nodiscard]] std::string describe(const std::string& text) const
    {
        write("rack.toml", text);
        return path("rack.toml");
    }

    /// Standard error and standard output of the probe.
    [[nodiscard]] static std::string probe(const std::string& rack, std::vector<std::string> arguments,
                                           std::map<std::string, std::string> variables = {})
    {
        if (!rack.empty())
            variables["MWVIRTUAL_RACK"] = rack;
        return run({RACK_PROBE, std::move(arguments), ".", std::move(variables)}, "", Output::with_errors)
            .output;
    }
};

TEST_F(Environment, WithoutADescriptionTheBuiltinRackIsThere)
{
    EXPECT_EQ(probe("", {"mwc4a", "0", "mwc4a", "1", "mwc4a", "2"}),
              "mwc4a 0: 0x00000000 no error\n"
              "mwc4a 1: 0x00000000 no error\n"
              "mwc4a 2: 0xE0000002 the rack has no such board\n");
}

TEST_F(Environment, TheDescribedRackTakesItsPlace)
{
    EXPECT_EQ(probe(describe("[[board]]\ntype = \"mwx2\"\nnumber = 7\n"), {"mwc4a", "0", "mwx2", "7"}),
              "mwc4a 0: 0xE0000002 the rack has no such board\n"
              "mwx2 7: 0x00000000 no error\n");
}

TEST_F(Environment, AMistakeIsToldOnceAndByEveryOpening)
{
    const std::string rack = describe("[[board]]\ntype = \"mwx2\"\nnumber = 77\n");
    const std::string mistake = rack + ":3: \"number\" must be a whole number from 0 to 15";
    EXPECT_EQ(probe(rack, {"mwc4a", "0", "mwx2", "7"}), "mwvirtual: " + mistake + "\n" +              //
                                                            "mwc4a 0: 0xE0000001 " + mistake + "\n" + //
                                                            "mwx2 7: 0xE0000001 " + mistake + "\n");
}

TEST_F(Environment, ALongMistakeIsCutToWhatItsTextHolds)
{
    const std::string rack = describe("[[board]]\n" + std::string(400, 'x') + " = 1\n");
    const std::string output = probe(rack, {"mwc4a", "0"});
    const std::string text = output.substr(output.find("0xE0000001 ") + 11);
    EXPECT_EQ(text.size(), 256U) << "255 characters and a line feed";
    EXPECT_TRUE(text.starts_with(rack + ":2: unknown key \"xxx"));
}

TEST_F(Environment, ARackThatIsNoRegularFileIsToldAndNotWaitedFor)
{
    make_fifo(path("rack.toml"));
    const std::string mistake =
        path("rack.toml") + ": the rack description cannot be read: it is no regular file";
    EXPECT_EQ(probe(path("rack.toml"), {"mwc4a", "0"}),
              "mwvirtual: " + mistake + "\nmwc4a 0: 0xE0000001 " + mistake + "\n");
}

TEST_F(Environment, FilesAreKeptInTheFolderThatTheUserNames)
{
    const std::string rack = describe("[[board]]\ntype = \"mwc4a\"\nnumber = 0\n[[board.slot]]\nnumber = 1\n"
                                      "kind = \"fpga\"\ndevice = \"2v40cs144-4\"\nkeep = \"kept\"\n");
    const std::string mistake =
        rack + ":8: \"keep\" needs a folder for kept files; name one in MWVIRTUAL_KEEP";
    EXPECT_EQ(probe(rack, {"mwc4a", "0"}),
              "mwvirtual: " + mistake + "\nmwc4a 0: 0xE0000001 " + mistake + "\n");
    EXPECT_EQ(probe(rack, {"mwc4a", "0"}, {{"MWVIRTUAL_KEEP", folder.string()}}),
              "mwc4a 0: 0x00000000 no error\n");
}

TEST_F(Environment, AFolderForTheStateThatIsMissingIsToldOnceAndByEveryOpening)
{
    Command command{RACK_PROBE, {"mwc4a", "0"}};
    command.variables["MWVIRTUAL_STATE"] = path("none");
    const std::string problem =
        "the folder " + path("none") + " for the state of modules: No such file or directory";
    EXPECT_EQ(run(command, "", Output::with_errors).output,
              "mwvirtual: " + problem + "\nmwc4a 0: 0xE0000015 " + problem + "\n");
    command.variables["MWVIRTUAL_STATE"] = folder.string();
    EXPECT_EQ(run(command, "", Output::with_errors).output, "mwc4a 0: 0x00000000 no error\n");
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << "only messages to modules make files";
    command.variables["MWVIRTUAL_STATE"] = "";
    EXPECT_EQ(run(command, "", Output::with_errors).output, "mwc4a 0: 0x00000000 no error\n");
}

TEST_F(Environment, ATraceThatIsNoRegularFileIsToldAndTheRunGoesOn)
{
    make_fifo(path("trace"));
    EXPECT_EQ(probe("", {"mwc4a", "0"}, {{"MWVIRTUAL_TRACE", path("trace")}}),
              "mwtrace: cannot write " + path("trace") +
                  ": it is no regular file; the run goes on unrecorded\nmwc4a 0: 0x00000000 no error\n");
}

} // namespace
