// SPDX-License-Identifier: Apache-2.0
// What is in the slots of boards, without a question and without a load.
#include "module/list.h"

#include "module/device_check.h"
#include "rack.h"
#include "support/fake_platform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace
{
using kvn::BoardRow;
using kvn::Compression;
using kvn::DevicePart;
using kvn::ExitStatus;
using kvn::ModuleIdentity;
using kvn::SlotKind;
using kvn::SlotRow;
using testing::Each;
using testing::Not;
using testing::StartsWith;

class List : public testing::Test
{
protected:
    void put(unsigned slot, const mwvirtual::Module& module) { rack.put_module(board, slot, &module); }
    /// The one board that the rack has.
    std::vector<SlotRow> slots()
    {
        const std::vector<BoardRow> rows = kvn::list(provider, {.board_type = "mwc4a", .board = 3});
        EXPECT_EQ(rows.size(), 1U);
        EXPECT_FALSE(rows[0].failure) << rows[0].failure->what;
        EXPECT_EQ(rack.open_handles(), 0U);
        EXPECT_THAT(rack.misuse(), testing::IsEmpty());
        return rows[0].slots;
    }

    mwvirtual::Rack rack;
    std::size_t board = rack.add_board({"mwc4a", 3});
    kvn::Provider provider{rack, "rack"};
};

TEST_F(List, TellsEveryKindOfSlot)
{
    put(1, mwvirtual::fpga_module(4).device("2v3000fg676-4").version(7).accepts_compressed());
    put(2, mwvirtual::processor_module());
    put(3, mwvirtual::module_without_bus());
    const std::vector<SlotRow> found = slots();
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(found[0].kind, SlotKind::module);
    EXPECT_EQ(found[0].module, (ModuleIdentity{.type = 2,
                                               .model = 4,
                                               .version = 7,
                                               .device = "2v3000fg676-4",
                                               .compression = Compression::yes}));
    EXPECT_EQ(found[0].module->type_name(), "KAVRIN-FPGA");
    EXPECT_EQ(found[1].kind, SlotKind::processor);
    EXPECT_EQ(found[2].kind, SlotKind::without_bus);
    EXPECT_EQ(found[3].kind, SlotKind::empty);
    for (const SlotRow& slot : found) {
        EXPECT_FALSE(slot.failure);
        EXPECT_EQ(slot.module.has_value(), slot.kind == SlotKind::module);
    }
    EXPECT_EQ(to_text(found[3].name), "mwc4a:3/4");
}

TEST_F(List, TellsModulesOfAllTypes)
{
    put(1, mwvirtual::io_module(4).device("2s50tq144-5"));
    put(2, mwvirtual::other_module(9));
    put(3, mwvirtual::fpga_module(3).device("v50bg256-4").accepts_compressed());
    const std::vector<SlotRow> found = slots();
    EXPECT_EQ(found[0].module->type_name(), "KAVRIN-IO");
    EXPECT_EQ(found[0].module->compression, Compression::no);
    EXPECT_EQ(found[1].kind, SlotKind::module);
    EXPECT_EQ(found[1].module, (ModuleIdentity{.type = 9})) << "nothing else is known of it";
    EXPECT_EQ(found[1].module->type_name(), "type 9");
    EXPECT_EQ(found[2].module->compression, Compression::yes) << "stated in its record";
}

TEST_F(List, ShowsTheBoardsInformation)
{
    rack.change_board(board, [](mwvirtual::BoardSettings& settings) { settings.info_word = 77; });
    put(2, mwvirtual::processor_module().info({1, 1, 0, 40, 50}));
    const std::vector<BoardRow> rows = kvn::list(provider, {.board_type = "mwc4a", .board = 3});
    EXPECT_EQ(rows[0].info_word, 77U);
    EXPECT_EQ(rows[0].slots[1].info_words, (std::array<std::uint32_t, 5>{1, 1, 0, 40, 50}));
    EXPECT_EQ(rows[0].slots[0].info_words, (std::array<std::uint32_t, 5>{}));
}

TEST_F(List, OfAllBoardsHasARowForEachNumberAndError9201WhereThereIsNone)
{
    rack.add_board({"mwc4a", 15});
    const std::vector<BoardRow> rows = kvn::list(provider, {.board_type = "mwc4a"});
    ASSERT_EQ(rows.size(), 16U);
    for (unsigned number = 0; number < 16; ++number) {
        EXPECT_EQ(rows[number].name, (kvn::BoardName{"mwc4a", number}));
        const bool exists = number == 3 || number == 15;
        EXPECT_EQ(rows[number].slots.size(), exists ? 4U : 0U);
        EXPECT_EQ(rows[number].failure.has_value(), !exists);
    }
    EXPECT_EQ(rows[0].failure->number, 9201);
    EXPECT_EQ(rows[0].failure->what,
              "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (the rack has no such board).");
    EXPECT_EQ(rows[0].failure->status, ExitStatus::no_module);
    EXPECT_EQ(rack.open_handles(), 0U);
}

TEST_F(List, Error9061And9224OfModulesLeaveTheOthersAlone)
{
    put(1, mwvirtual::fpga_module(4).does_not_answer(mwvirtual::Reply::identification));
    put(2, mwvirtual::fpga_module(4).device("2v40cs144-4").does_not_answer(mwvirtual::Reply::compression));
    put(3, mwvirtual::fpga_module(4).device("2v40cs144-4"));
    const std::vector<SlotRow> found = slots();
    ASSERT_TRUE(found[0].failure);
    EXPECT_EQ(found[0].failure->what,
              "Error 9061. Cannot receive KSB message, board \"mwc4a 3\" (the module did "
              "not answer within the time-out).");
    EXPECT_EQ(found[0].kind, SlotKind::module);
    EXPECT_FALSE(found[0].module) << "not that of a slot asked before";
    ASSERT_TRUE(found[1].failure);
    EXPECT_EQ(found[1].failure->number, 9224);
    EXPECT_EQ(found[1].module->device, "2v40cs144-4") << "its record did arrive";
    EXPECT_EQ(found[1].module->compression, Compression::unknown);
    EXPECT_FALSE(found[2].failure);
    EXPECT_EQ(found[2].module->compression, Compression::no);
}

TEST_F(List, AsksEachModuleOnceAndLoadsNothing)
{
    put(1, mwvirtual::fpga_module(4).device("2v40cs144-4"));
    put(4, mwvirtual::fpga_module(3).device("v50bg256-4"));
    (void)slots();
    std::vector<std::string> functions;
    for (const mwvirtual::Call& call : rack.journal())
        functions.emplace_back(mwvirtual::function_name(call.function));
    const char* info = "MwGetBoardInfo";
    const char* ask = "MwKSBSendMessageEx";
    const char* take = "MwKSBReceiveMessageEx";
    EXPECT_EQ(functions, (std::vector<std::string>{"MwOpenS", "MwInitIoStatus", "MwInitIoStatus", info, ask,
                                                   take, ask, take, info, info, info, ask, take, "MwClose"}));
}

TEST_F(List, RefusesWhatCannotBeABoard)
{
    const auto words = [&](const kvn::ListRequest& request) {
        try {
            (void)kvn::list(provider, request);
        } catch (const kvn::FailureError& error) {
            EXPECT_EQ(error.failure().status, ExitStatus::usage);
            return error.failure().what;
        }
        return std::string{"none"};
    };
    EXPECT_EQ(words({}), "\"\" is no board type");
    EXPECT_EQ(words({.board_type = "mwc4a", .board = 16}), "boards are numbered 0 to 15, not 16");
    EXPECT_EQ(rack.calls(), 0U);
}

TEST_F(List, IdentifiesOneSlot)
{
    put(2, mwvirtual::fpga_module(4).device("2v40cs144-4"));
    const SlotRow own = kvn::identify(provider, kvn::parse_module_name("mwc4a:3/2"));
    EXPECT_EQ(own.module->device, "2v40cs144-4");
    EXPECT_EQ(kvn::identify(provider, kvn::parse_module_name("mwc4a:3/1")).kind, SlotKind::empty);
    const SlotRow missing = kvn::identify(provider, kvn::parse_module_name("mwc4a:5/1"));
    EXPECT_EQ(missing.kind, SlotKind::unknown);
    EXPECT_EQ(missing.failure->number, 9201);
    EXPECT_THROW((void)kvn::identify(provider, {.board = {"mwc4a", 3}, .slot = 0}), kvn::FailureError);
    EXPECT_EQ(rack.open_handles(), 0U);
}

TEST_F(List, IdentifiesASlotOfAnotherBoardOnTheBus)
{
    const std::size_t far = rack.add_board({"mwc4a", 7});
    rack.change_board(far, [](mwvirtual::BoardSettings& settings) {
        settings.reached_over.push_back({"mwc4a", 3});
    });
    const mwvirtual::Module module = mwvirtual::fpga_module(4).device("2v40cs144-4");
    rack.put_module(far, 1, &module);
    const SlotRow reached = kvn::identify(provider, kvn::parse_module_name("mwc4a:3/7.1"));
    EXPECT_EQ(reached.kind, SlotKind::module);
    EXPECT_EQ(reached.module->device, "2v40cs144-4");
    EXPECT_EQ(reached.info_words, std::nullopt) << "the information is of the opened board alone";
    const SlotRow empty = kvn::identify(provider, kvn::parse_module_name("mwc4a:3/7.2"));
    EXPECT_EQ(empty.kind, SlotKind::unknown);
    EXPECT_TRUE(empty.failure);
}

TEST(ListOfABoard, LeavesNothingOpenWhicheverCallFails)
{
    FakePlatform platform;
    platform.board("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
    platform.board("mwc4a", 0).slot(3, io_module(5).device("2s50tq144-5"));
    const kvn::Provider provider{platform, "fake"};
    const kvn::ListRequest request{.board_type = "mwc4a", .board = 0};
    (void)kvn::list(provider, request);
    const int calls = platform.calls();
    for (int n = 1; n <= calls; ++n) {
        platform.log.clear();
        platform.fail_call(n);
        const std::vector<BoardRow> rows = kvn::list(provider, request);
        platform.fail_nothing();
        ASSERT_EQ(rows.size(), 1U);
        int failures = rows[0].failure ? 1 : 0;
        for (const SlotRow& slot : rows[0].slots)
            failures += slot.failure ? 1 : 0;
        EXPECT_EQ(failures, 1) << "call " << n;
        EXPECT_EQ(rows[0].slots.empty(), rows[0].failure.has_value()) << "call " << n;
        EXPECT_EQ(platform.open_handles(), 0) << "call " << n;
    }
}

TEST(ListOfABoard, Error9190WhenTheBoardsInformationCannotBeRead)
{
    FakePlatform platform;
    platform.board("mwc4a", 0);
    platform.fail("GetBoardInfo", 2);
    const kvn::Provider provider{platform, "fake"};
    const std::vector<BoardRow> rows = kvn::list(provider, {.board_type = "mwc4a", .board = 0});
    EXPECT_EQ(rows[0].failure->what, "Error 9190. Cannot do MwGetBoardInfo, board \"mwc4a 0\" (api 0x77).");
    EXPECT_TRUE(rows[0].slots.empty());
}

TEST(DeviceName, FallsIntoDevicePackageAndSpeedGrade)
{
    const auto parts = [](const char* name) { return kvn::split_device_name(name); };
    EXPECT_EQ(parts("2v3000fg676-4"), (DevicePart{"2v3000", "fg676", "4"}));
    EXPECT_EQ(parts("s40xlpq208-4"), (DevicePart{"s40xl", "pq208", "4"}));
    EXPECT_EQ(parts("v1000efg680-7es"), (DevicePart{"v1000e", "fg680", "7es"}));
    EXPECT_EQ(parts("XC2S50TQ144-5"), (DevicePart{"XC2S50", "TQ144", "5"}));
    EXPECT_EQ(parts("2v9999ff1152-6"), (DevicePart{"2v9999", "ff1152", "6"})) << "in no table";
    EXPECT_EQ(parts("2v3000"), (DevicePart{"2v3000", "", ""}));
    EXPECT_EQ(parts("-4"), (DevicePart{"", "", "4"}));
    EXPECT_EQ(parts("fg-"), (DevicePart{"fg", "", ""}));
    EXPECT_EQ(parts(""), DevicePart{});
}

TEST(SlotKind, HasAWord)
{
    EXPECT_STREQ(name_of(SlotKind::unknown), "unknown");
    EXPECT_STREQ(name_of(SlotKind::empty), "empty");
    EXPECT_STREQ(name_of(SlotKind::processor), "processor");
    EXPECT_STREQ(name_of(SlotKind::without_bus), "without bus");
    EXPECT_STREQ(name_of(SlotKind::module), "module");
    EXPECT_STREQ(name_of(Compression::yes), "yes");
}

TEST(UnsuitableSlot, SaysWhatIsInItAndHowToLook)
{
    SlotRow slot;
    slot.name = kvn::parse_module_name("mwc4a:3/2");
    const std::pair<SlotKind, const char*> rows[] = {
        {SlotKind::empty, "mwc4a:3/2 is empty"},
        {SlotKind::processor, "mwc4a:3/2 holds a processor module, which is not loaded"},
        {SlotKind::without_bus, "mwc4a:3/2 holds a module without a serial bus"}};
    for (const auto& [kind, what] : rows) {
        slot.kind = kind;
        const auto failure = kvn::unsuitable_slot(slot);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->status, ExitStatus::no_module);
        EXPECT_EQ(failure->what, what);
        EXPECT_EQ(failure->remedy, "check the slot; kvn list mwc4a:3 shows what the board has");
    }
    slot.kind = SlotKind::module;
    EXPECT_FALSE(kvn::unsuitable_slot(slot));
}
} // namespace
