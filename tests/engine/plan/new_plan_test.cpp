// SPDX-License-Identifier: Apache-2.0
// Plans that are made of a rack, and names of files in them.
#include "plan/new_plan.h"

#include "errors/failure.h"
#include "plan_support.h"
#include "support/folder_test.h"

#include <gmock/gmock.h>

namespace
{
using kvn::BoardRow;
using kvn::Inspection;
using kvn::PlannedModule;
using kvn::SlotKind;
using kvn::SlotRow;

SlotRow slot(unsigned number, SlotKind kind, const char* device = nullptr)
{
    SlotRow row{.name = {.board = {"mwc4a", 0}, .slot = number}, .kind = kind};
    if (kind == SlotKind::module)
        row.module = kvn::ModuleIdentity{.type = 2};
    if (device != nullptr)
        row.module->device = device;
    return row;
}

Inspection file(const std::string& path, const std::string& part)
{
    Inspection inspection;
    inspection.path = path;
    inspection.part = part;
    return inspection;
}

TEST(NewPlan, NamesEachModuleThatAnswers)
{
    BoardRow board{.name = {"mwc4a", 0},
                   .slots = {slot(1, SlotKind::module, "2v40cs144-4"), slot(2, SlotKind::processor),
                             slot(3, SlotKind::module), slot(4, SlotKind::module, "2v80cs144-4")}};
    board.slots[3].failure = kvn::Failure{};
    const std::vector<BoardRow> boards{board, {.name = {"mwc4a", 1}, .failure = kvn::Failure{}}};
    EXPECT_EQ(plan_of_rack(boards, {}),
              (std::vector<PlannedModule>{
                  {.module = board.slots[0].name, .file = "fill-in.bit", .device = "2v40cs144-4"},
                  {.module = board.slots[2].name, .file = "fill-in.bit"}}));
}

TEST(NewPlan, GivesAModuleTheOnlyFileForItsDevice)
{
    const std::vector<BoardRow> boards{
        {.name = {"mwc4a", 0},
         .slots = {slot(1, SlotKind::module, "2v40cs144-4"), slot(2, SlotKind::module, "2v80cs144-4"),
                   slot(3, SlotKind::module)}}};
    const std::vector<Inspection> files{file("a.bit", "2v40cs144"), file("b.bit", "2v80cs144"),
                                        file("c.bit", "2v80cs144"), file("d.bit", "")};
    const std::vector<PlannedModule> modules = plan_of_rack(boards, files);
    EXPECT_EQ(modules[0].file, "a.bit");
    EXPECT_EQ(modules[1].file, "fill-in.bit") << "there are two";
    EXPECT_EQ(modules[2].file, "fill-in.bit") << "it names no device";
}

TEST(NewPlan, NamesFilesBelowItsFolderRelativelyAndOthersWhole)
{
    EXPECT_EQ(kvn::name_in_plan("/plans/rack.toml", "/plans/a.bit"), "a.bit");
    EXPECT_EQ(kvn::name_in_plan("/plans/rack.toml", "/plans/old/./a.bit"), "old/a.bit");
    EXPECT_EQ(kvn::name_in_plan("/plans/rack.toml", "/plans/old/../a.bit"), "a.bit");
    EXPECT_EQ(kvn::name_in_plan("/plans/rack.toml", "/other/a.bit"),
              std::filesystem::absolute("/other/a.bit").make_preferred().string());
    EXPECT_EQ(kvn::name_in_plan("rack.toml", "a.bit"), "a.bit");
    EXPECT_EQ(kvn::name_in_plan("plans/rack.toml", "a.bit"),
              (std::filesystem::current_path() / "a.bit").string());
}

TEST(NewPlan, IsReadBackBeforeItIsWritten)
{
    PlannedModule module{.module = kvn::parse_module_name("mwc4a:0/1"), .file = "a.bit"};
    EXPECT_EQ(kvn::new_plan_text({module}, "Two\nlines"),
              "# Two\n# lines\n\n[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"a.bit\"\n");
    EXPECT_THROW((void)kvn::new_plan_text({module, module}, ""), kvn::FailureError) << "twice";
    module.file = "\xFF.bit";
    EXPECT_THROW((void)kvn::new_plan_text({module}, ""), kvn::FailureError) << "no UTF-8";
    EXPECT_THROW((void)kvn::new_plan_text({}, ""), kvn::FailureError) << "no module";
}

class PagesOfPlans : public testing::Test
{
protected:
    /// The blocks of a kind in docs/plans.md.
    static std::vector<std::string> blocks(const std::string& kind)
    {
        const std::string page = read_whole_file(PLANS_PAGE);
        std::vector<std::string> found;
        const std::string head = "\n```" + kind + "\n";
        for (std::size_t at = page.find(head); at != std::string::npos; at = page.find(head, at)) {
            at += head.size();
            found.push_back(page.substr(at, page.find("```", at) - at));
        }
        return found;
    }
    /// Every file exists.
    class Anything final : public kvn::FileFinder
    {
    public:
        [[nodiscard]] bool exists(const std::string& /*path*/) const override { return true; }
    };
};

TEST_F(PagesOfPlans, EveryPlanFileOfThePageIsRead)
{
    const std::vector<std::string> plans = blocks("toml");
    ASSERT_GE(plans.size(), 2U);
    for (const std::string& text : plans) {
        const kvn::Plan plan = kvn::read_toml_plan(text, "rack.toml", Anything{});
        EXPECT_THAT(told(plan), testing::IsEmpty()) << text;
        EXPECT_FALSE(plan.modules.empty());
    }
    EXPECT_EQ(kvn::read_toml_plan(plans[1], "rack.toml", Anything{}).modules[0],
              (PlannedModule{.place = {"rack.toml", 5},
                             .label = "left camera",
                             .module = kvn::parse_module_name("mwc4a:0/1"),
                             .file = "camera.bit",
                             .mode = kvn::ModeWish::smallest,
                             .device = "2v3000fg676-4",
                             .digest = std::string(60, '0') + "beef",
                             .asks_serial_number = true,
                             .timeout = 90,
                             .retries = 2}))
        << "every key";
}

TEST_F(PagesOfPlans, EveryConFileOfThePageIsRead)
{
    const std::vector<std::string> plans = blocks("con");
    ASSERT_EQ(plans.size(), 1U);
    const kvn::Plan plan = kvn::read_con_plan(plans[0], "rack.con", kvn::ConReading::strict,
                                              NamedFiles{{"camera.rbt", "filter.mcb"}});
    EXPECT_THAT(told(plan), testing::IsEmpty());
    EXPECT_EQ(named(plan), (std::vector<std::string>{"mwc4a:0/1 camera.rbt", "mwc4a:0/2 filter.mcb",
                                                     "mwc4a:0/1.2 filter.mcb"}));
}
} // namespace
