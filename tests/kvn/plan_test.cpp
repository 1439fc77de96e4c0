// SPDX-License-Identifier: Apache-2.0
// kvn plan: plans of the rack that is there and of .con files; kvn list --expect: whether it is there.
#include "kvn_fixture.h"
#include "plan/plan.h"

#include <gmock/gmock.h>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class KvnPlan : public KvnOnBoards
{
protected:
    static constexpr const char* RACK_OF_TYPE = "[[module]]\n"
                                                "module = \"mwc4a:0/1\"\n"
                                                "file = \"design.bit\"\n"
                                                "device = \"2v3000fg676-4\"\n"
                                                "\n"
                                                "[[module]]\n"
                                                "module = \"mwc4a:0/2\"\n"
                                                "file = \"fill-in.bit\"\n"
                                                "device = \"v300pq240-5\"\n"
                                                "\n"
                                                "[[module]]\n"
                                                "module = \"mwc4a:1/1\"\n"
                                                "file = \"fill-in.bit\"\n"
                                                "device = \"2vp30ff896-6\"\n"
                                                "\n"
                                                "[[module]]\n"
                                                "module = \"mwc4a:1/2\"\n"
                                                "file = \"fill-in.bit\"\n"
                                                "device = \"2s200fg456-5\"\n";
};

TEST_F(KvnPlan, NewNamesTheModulesThatAreThere)
{
    make("2v3000fg676-4", "design.bit");
    const Outcome made = kvn(
        {"plan", "new", "--from-list", "--board-type", "mwc4a", "--file", "design.bit", "-o", "rack.toml"});
    EXPECT_EQ(made.status, 0) << made.errors;
    EXPECT_EQ(made.output, "rack.toml: 4 modules\n");
    EXPECT_EQ(made.errors, std::string{ANNOUNCED} +
                               "kvn: 3 modules: the bitstream is to be filled in, in place "
                               "of fill-in.bit\n");
    EXPECT_EQ(content("rack.toml"),
              std::string{"# The modules that were there, by kvn plan new --from-list.\n"
                          "# The boards are simulated.\n"
                          "# Write the bitstream of each module in place of fill-in.bit.\n"
                          "\n"} +
                  RACK_OF_TYPE);
}

TEST_F(KvnPlan, NewTakesTheBoardsOfTheEnvironmentAndNeverGuesses)
{
    variables["MWAPIKSB"] = "mwc4a 1";
    EXPECT_EQ(kvn({"plan", "new", "--from-list", "-o", "rack.toml"}).output, "rack.toml: 2 modules\n");
    variables.erase("MWAPIKSB");
    const Outcome refused = kvn({"plan", "new", "--from-list", "-o", "other.toml"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.errors, "kvn: no board type is named, and the environment names no board\n"
                              "why: which types of boards there are is not known here\n"
                              "try: kvn plan new --from-list --board-type mwc4a -o other.toml\n");
    EXPECT_EQ(kvn({"plan", "new", "--from-list", "--board-type", "mwc4a", "-o", "other.toml"}).status, 0)
        << "what the hint says";
    EXPECT_EQ(kvn({"plan", "new", "-o", "third.toml"}).status, 2) << "not said of what";
}

TEST_F(KvnPlan, NewWithoutAModuleWritesNothing)
{
    const Outcome refused = kvn({"plan", "new", "--from-list", "--board-type", "none", "-o", "rack.toml"});
    EXPECT_EQ(refused.status, 6);
    EXPECT_THAT(refused.errors, EndsWith("kvn: there is no module that a plan could name\n"
                                         "try: kvn list none --all\n"));
    EXPECT_FALSE(std::filesystem::exists(folder / "rack.toml"));
}

TEST_F(KvnPlan, NewTellsWhichModulesAreLeftOut)
{
    use_rack("", "\n[[board.slot]]\nnumber = 2\nkind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n"
                 "[[board.slot.fault]]\nkind = \"no-reply\"\nreply = \"identification\"\n");
    const Outcome made = kvn(
        {"plan", "new", "--from-list", "--board-type", "mwc4a:0", "--rack", "rack.toml", "-o", "plan.toml"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.output, "plan.toml: 1 module\n");
    EXPECT_THAT(made.errors, HasSubstr("kvn: mwc4a:0/2 is left out: Error 9061. "));
}

TEST_F(KvnPlan, KeepsAFileThatExistsUnlessItIsTold)
{
    write("rack.toml", "mine");
    const std::vector<std::string> command{"plan",  "new", "--from-list", "--board-type",
                                           "mwc4a", "-o",  "rack.toml"};
    EXPECT_EQ(kvn(command).status, 3);
    EXPECT_EQ(content("rack.toml"), "mine");
    std::vector<std::string> overwriting = command;
    overwriting.emplace_back("--overwrite");
    EXPECT_EQ(kvn(overwriting).status, 0);
    EXPECT_THAT(content("rack.toml"), HasSubstr("[[module]]"));
}

TEST_F(KvnPlan, ConvertKeepsWhatAConFileSays)
{
    make("2v3000fg676-4", "design.rbt");
    std::filesystem::create_directory(folder / "plans");
    write("rack.con", "\" a comment\ndesign mwc4a 0 1\ndesign.rbt mwc4a 0 0x12\n");
    const Outcome converted = kvn({"plan", "convert", "rack.con", "-o", "rack.toml"});
    EXPECT_EQ(converted.status, 0) << converted.errors;
    EXPECT_EQ(converted.output, "rack.toml: 2 modules\n");
    EXPECT_EQ(content("rack.toml"), "# Converted from rack.con by kvn plan convert.\n"
                                    "\n"
                                    "[[module]]\n"
                                    "module = \"mwc4a:0/1\"\n"
                                    "file = \"design.rbt\"\n"
                                    "\n"
                                    "[[module]]\n"
                                    "module = \"mwc4a:0/1.2\"\n"
                                    "file = \"design.rbt\"\n");
    EXPECT_EQ(kvn({"plan", "convert", "rack.con", "-o", "plans/rack.toml"}).status, 0);
    EXPECT_EQ(kvn::read_plan(path("plans/rack.toml")).modules.at(0).file, path("design.rbt"));
    EXPECT_THAT(kvn({"plan", "convert", "rack.con", "-o", "-"}).output,
                HasSubstr("\nfile = \"design.rbt\"\n"));
}

TEST_F(KvnPlan, ConvertTellsEveryProblemAndWritesNothing)
{
    write("rack.con", "missing mwc4a 0 1\n design mwc4a 0 2\n");
    const Outcome refused = kvn({"plan", "convert", "rack.con", "-o", "rack.toml"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors,
              "kvn: rack.con:1: missing is neither in the working directory nor beside the plan\n"
              "try: check the name, or write the path\n"
              "kvn: rack.con:2: the line begins with a blank; the classic way skips it\n"
              "try: begin the line with the bitstream's name; begin a comment with \" in the first column\n"
              "kvn: rack.con has problems; nothing was written\n"
              "try: correct its lines\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "rack.toml"));
}

TEST_F(KvnPlan, ConvertReadsClassicallyAndSaysWhatItMakesOfOddLines)
{
    make("2v3000fg676-4", "design.rbt");
    write("rack.con", "design mwc4a 0 1x\n design mwc4a 0 2\n");
    const Outcome converted = kvn({"plan", "convert", "rack.con", "-o", "rack.toml", "--classic"});
    EXPECT_EQ(converted.status, 0) << converted.errors;
    EXPECT_EQ(converted.errors, "kvn: rack.con:1: note: \"1x\" is taken for 1\n"
                                "kvn: rack.con:2: note: the line begins with a blank and is skipped\n");
    EXPECT_EQ(converted.output, "rack.toml: 1 module\n");
}

TEST_F(KvnPlan, IsADocumentToo)
{
    make("2v3000fg676-4", "design.rbt");
    write("rack.con", "design mwc4a 0 1\ndesign mwc4a 1 1\n");
    const nlohmann::json made =
        json({"plan", "new", "--from-list", "--board-type", "mwc4a:0", "-o", "rack.toml"});
    EXPECT_EQ(made["kvn"], "plan");
    EXPECT_EQ(made["file"], "rack.toml");
    EXPECT_EQ(
        made["modules"].dump(),
        R"([{"device":"2v3000fg676-4","digest":null,"file":"fill-in.bit","label":null,"load":"as-module",)"
        R"("module":"mwc4a:0/1","retries":null,"serial":null,"timeout":null},)"
        R"({"device":"v300pq240-5","digest":null,"file":"fill-in.bit","label":null,"load":"as-module",)"
        R"("module":"mwc4a:0/2","retries":null,"serial":null,"timeout":null}])");
    write("rack.con", "design mwc4a 0 1 too many\n");
    EXPECT_EQ(json({"plan", "convert", "rack.con", "-o", "converted.toml"})["findings"].size(), 0U);
    EXPECT_EQ(json({"plan", "convert", "rack.con", "-o", "-"})["error"]["status"], 2)
        << "standard output cannot take both";
}

TEST_F(KvnPlan, IsWhatListExpects)
{
    make("2v3000fg676-4", "design.bit");
    ASSERT_EQ(kvn({"plan", "new", "--from-list", "--board-type", "mwc4a:0", "--file", "design.bit", "-o",
                   "rack.toml"})
                  .status,
              0);
    const Outcome incomplete = kvn({"list", "--expect", "rack.toml"});
    EXPECT_EQ(incomplete.status, 10) << "one file is still to be filled in";
    EXPECT_THAT(incomplete.errors, HasSubstr("kvn: rack.toml:10: there is no file fill-in.bit\n"));
    write("rack.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"design.bit\"\n");
    const Outcome listed = kvn({"list", "--expect", "rack.toml"});
    EXPECT_EQ(listed.status, 0) << listed.errors;
    EXPECT_EQ(listed.output,
              "Module     Kind    Type         Model  Version  Device         Expected     File\n"
              "mwc4a:0/1  module  KAVRIN-FPGA  4      2        2v3000fg676-4  2v3000fg676  design.bit\n");
    EXPECT_EQ(listed.errors, ANNOUNCED);
    const nlohmann::json document = json({"list", "--expect", "rack.toml"});
    EXPECT_EQ(document["kvn"], "inventory");
    EXPECT_EQ(document["fits"], true);
    EXPECT_EQ(document["plan"], "rack.toml");
    EXPECT_EQ(document["buses"][0]["slots"][0]["identity"]["device"], "2v3000fg676-4");
}

TEST_F(KvnPlan, ThatTheRackDoesNotFitIsStatus10WithEveryProblem)
{
    make("2v3000fg676-4", "design.bit");
    write("rack.toml", "[[module]]\nmodule = \"mwc4a:0/2\"\nfile = \"design.bit\"\n"
                       "[[module]]\nmodule = \"mwc4a:0/4\"\nfile = \"design.bit\"\n"
                       "[[module]]\nmodule = \"mwc4a:9/1\"\nfile = \"design.bit\"\n");
    const Outcome listed = kvn({"list", "--expect", "rack.toml"});
    EXPECT_EQ(listed.status, 10);
    EXPECT_EQ(listed.output,
              "Module     Kind      Type         Model  Version  Device       Expected     File\n"
              "mwc4a:0/2  module    KAVRIN-FPGA  3      1        v300pq240-5  2v3000fg676  design.bit\n"
              "mwc4a:0/4  empty                                               2v3000fg676  design.bit\n"
              "mwc4a:9/1  not read                                            2v3000fg676  design.bit\n");
    EXPECT_THAT(listed.errors,
                HasSubstr("kvn: rack.toml:1: design.bit is for a 2v3000fg676 (by its header); the module in "
                          "mwc4a:0/2 has a v300pq240-5 (by its own word)\n"));
    EXPECT_THAT(listed.errors, HasSubstr("kvn: rack.toml:4: mwc4a:0/4 is empty\n"));
    EXPECT_THAT(listed.errors, HasSubstr("kvn: mwc4a:9: Error 9201. "));
    const nlohmann::json document = json({"list", "--expect", "rack.toml"});
    EXPECT_EQ(document["fits"], false);
    EXPECT_EQ(document["findings"].size(), 3U);
    EXPECT_EQ(kvn({"list", "mwc4a:0", "--expect", "rack.toml"}).status, 2);
    EXPECT_EQ(kvn({"list", "--expect", "missing.toml"}).status, 3);
}
} // namespace
