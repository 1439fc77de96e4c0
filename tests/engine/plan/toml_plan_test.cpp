// SPDX-License-Identifier: Apache-2.0
// Plan files in TOML.
#include "errors/failure.h"
#include "plan_support.h"
#include "support/files.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

const NamedFiles files{{"line/main.bit", "line/video.rbt", "/abs/main.mcb"}};
const std::string digest(64, 'a');

kvn::Plan read(const std::string& text)
{
    return read_toml_plan(text, "line/plan.toml", files);
}

TEST(TomlPlan, TakesAllThatAModuleCanHave)
{
    const kvn::Plan plan =
        read("[defaults]\ntimeout = 30\nretries = 2\nload = \"plain\"\n"
             "[[module]]\nname = \"main\"\nmodule = \"mwc4a:0/1.2\"\nfile = \"main.bit\"\n"
             "device = \"2v3000fg676-4\"\ndigest = \"" +
             digest +
             "\"\nserial = \"A17\"\ntimeout = 90\nretries = 0\nload = \"smallest\"\n"
             "[[module]]\nmodule = \"mwc4a:1/4\"\nfile = \"/abs/main.mcb\"\nserial = \"ask\"\n");
    EXPECT_THAT(told(plan), IsEmpty());
    ASSERT_THAT(named(plan), ElementsAre("mwc4a:0/1.2 line/main.bit", "mwc4a:1/4 /abs/main.mcb"));
    const kvn::PlannedModule& first = plan.modules[0];
    EXPECT_EQ(first.place.text(), "line/plan.toml:5");
    EXPECT_EQ(first.label, "main");
    EXPECT_EQ(first.mode, kvn::ModeWish::smallest);
    EXPECT_EQ(first.device, "2v3000fg676-4");
    EXPECT_EQ(first.digest, digest);
    EXPECT_EQ(first.serial_number, "A17");
    EXPECT_FALSE(first.asks_serial_number);
    EXPECT_EQ(first.timeout, 90U);
    EXPECT_EQ(first.retries, 0U);
    const kvn::PlannedModule& second = plan.modules[1];
    EXPECT_EQ(second.mode, kvn::ModeWish::plain);
    EXPECT_EQ(second.timeout, 30U);
    EXPECT_EQ(second.retries, 2U);
    EXPECT_TRUE(second.asks_serial_number);
    EXPECT_EQ(second.serial_number, std::nullopt);
}

TEST(TomlPlan, EveryMistakeIsAProblemWithItsLine)
{
    struct Case {
        std::string text;
        std::string told;
    };
    const std::string good = "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"main.bit\"\n";
    const std::string remedy = " -> docs/plans.md shows a plan with every key";
    const Case cases[] = {
        {"", "line/plan.toml:1: a plan needs at least one [[module]]" + remedy},
        {"x = ", "line/plan.toml:1: "},
        {"modul = 1\n" + good,
         "line/plan.toml:1: unknown key \"modul\" in a plan; did you mean \"module\"?" + remedy},
        {"module = 1\n", "line/plan.toml:1: \"module\" must be a list of tables" + remedy},
        {"defaults = 1\n" + good, "line/plan.toml:1: \"defaults\" must be a table" + remedy},
        {"[defaults]\nserial = \"x\"\n" + good,
         "line/plan.toml:2: unknown key \"serial\" in the defaults of a plan; "
         "known are \"load\", \"timeout\", \"retries\"" +
             remedy},
        {good + "devise = \"x\"\n",
         "line/plan.toml:4: unknown key \"devise\" in a module; did you mean \"device\"?" + remedy},
        {"[[module]]\nfile = \"main.bit\"\n", "line/plan.toml:1: a module needs \"module\"" + remedy},
        {"[[module]]\nmodule = \"mwc4a:0/1\"\n", "line/plan.toml:1: a module needs \"file\"" + remedy},
        {"[[module]]\nmodule = \"mwc4a:0/5\"\nfile = \"main.bit\"\n", "line/plan.toml:2: "},
        {good + "load = \"plane\"\n",
         "line/plan.toml:4: unknown load \"plane\"; did you mean \"plain\"?" + remedy},
        {good + "digest = \"12\"\n",
         "line/plan.toml:4: \"digest\" must be 64 digits 0 to 9 and a to f, as kvn digest "
         "prints them" +
             remedy},
        {good + "timeout = 0\n",
         "line/plan.toml:4: \"timeout\" must be a whole number from 1 to 86400" + remedy},
        {good + "retries = \"2\"\n",
         "line/plan.toml:4: \"retries\" must be a whole number from 0 to 100" + remedy},
        {good + "serial = 17\n",
         "line/plan.toml:4: \"serial\" must be a text of 1 to 255 characters" + remedy},
        {"[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"lost.bit\"\n",
         "line/plan.toml:1: there is no file line/lost.bit -> names are relative to the folder of the plan; check the "
         "name"},
        {good + good,
         "line/plan.toml:4: mwc4a:0/1 is the module of line/plan.toml:1 again -> name each module once"},
    };
    for (const Case& each : cases) {
        const kvn::Plan plan = read(each.text);
        EXPECT_THAT(told(plan), ElementsAre(testing::StartsWith(each.told))) << each.text;
        EXPECT_TRUE(plan.has_problem());
    }
}

TEST(TomlPlan, AMistakeInOneModuleLeavesTheOthers)
{
    const kvn::Plan plan = read("[[module]]\nmodule = \"mwc4a:0/9\"\nfile = \"main.bit\"\n"
                                "[[module]]\nmodule = \"mwc4a:0/2\"\nfile = \"video.rbt\"\n"
                                "[[module]]\nfile = \"video.rbt\"\n");
    EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/2 line/video.rbt"));
    EXPECT_EQ(plan.findings.size(), 2U);
}

TEST(TomlPlan, WhatIsWrittenIsReadBack)
{
    kvn::PlannedModule full{.label = "a \"name\" with \\ and \x1F",
                            .module = kvn::parse_module_name("mwc4a:0/1.2"),
                            .file = "/abs/main.mcb",
                            .mode = kvn::ModeWish::compressed,
                            .device = "2v40cs144-4",
                            .digest = digest,
                            .timeout = 5,
                            .retries = 1};
    full.asks_serial_number = true;
    kvn::PlannedModule plain{.module = kvn::parse_module_name("mwc3a:15/4"), .file = "/abs/main.mcb"};
    plain.serial_number = "S-1";
    const std::string text = kvn::write_plan({full, plain}, "two modules\nby hand");
    EXPECT_THAT(text, testing::StartsWith(
                          "# two modules\n# by hand\n\n[[module]]\nname = \"a \\\"name\\\" with \\\\ and "
                          "\\u001F\"\nmodule = \"mwc4a:0/1.2\"\nfile = \"/abs/main.mcb\"\n"));
    kvn::Plan plan = read(text);
    EXPECT_THAT(told(plan), IsEmpty());
    for (kvn::PlannedModule& module : plan.modules)
        module.place = {};
    EXPECT_THAT(plan.modules, ElementsAre(full, plain));
}

TEST(ReadPlan, TheExtensionTellsThePlanFromTheConFile)
{
    const TemporaryFolder folder;
    write_whole_file(folder.path() / "a.rbt", "");
    write_whole_file(folder.path() / "plan.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"a.rbt\"\n");
    write_whole_file(folder.path() / "plan.con", "a mwc4a 0 1\n");
    for (const char* name : {"plan.toml", "plan.con"}) {
        const kvn::Plan plan = kvn::read_plan((folder.path() / name).string());
        EXPECT_THAT(named(plan), ElementsAre("mwc4a:0/1 " + (folder.path() / "a.rbt").string())) << name;
    }
}

TEST(ReadPlan, APlanThatCannotBeReadIsAFailureOfFiles)
{
    const TemporaryFolder folder;
    write_whole_file(folder.path() / "large.con", std::string((std::size_t{1} << 20) + 1, '"'));
    struct Case {
        std::string path;
        std::string why;
    };
    const Case cases[] = {{(folder.path() / "lost.con").string(), "No such file or directory"},
                          {folder.path().string(), "it is no regular file"},
                          {(folder.path() / "large.con").string(), "it is larger than a megabyte"}};
    for (const Case& each : cases) {
        try {
            (void)kvn::read_plan(each.path);
            FAIL() << each.path;
        } catch (const kvn::FailureError& error) {
            EXPECT_EQ(error.failure().status, kvn::ExitStatus::file);
            EXPECT_EQ(error.failure().what, each.path + ": the plan cannot be read: " + each.why);
        }
    }
}
} // namespace
