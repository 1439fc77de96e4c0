// SPDX-License-Identifier: Apache-2.0
// What modules say of themselves, and how that travels between processes.
#include "run/inventory.h"

#include "rack.h"
#include "report/module_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using kvn::BoardName;
using kvn::BusInventory;
using kvn::Json;
using kvn::ModuleName;
using kvn::PlannedModule;
using kvn::SlotKind;
using mwvirtual::Function;

std::vector<PlannedModule> plan(std::initializer_list<const char*> names)
{
    std::vector<PlannedModule> modules;
    for (const char* name : names)
        modules.push_back({.module = kvn::parse_module_name(name), .file = "design.bit"});
    return modules;
}

template <class Name>
std::vector<std::string> texts(const std::vector<Name>& names)
{
    std::vector<std::string> all;
    for (const Name& name : names)
        all.push_back(to_text(name));
    return all;
}

class Inventory : public testing::Test
{
protected:
    Inventory()
    {
        put(board, 1, mwvirtual::fpga_module(4).device("2v40cs144-4").accepts_compressed());
        put(board, 2, mwvirtual::fpga_module(4).does_not_answer(mwvirtual::Reply::identification));
        put(board, 3, mwvirtual::processor_module());
        rack.change_board(behind, [](mwvirtual::BoardSettings& settings) {
            settings.reached_over = {{"mwc4a", 3}};
        });
        put(behind, 1, mwvirtual::io_module(5).device("2s50tq144-5"));
    }
    void put(std::size_t index, unsigned slot, const mwvirtual::Module& module)
    {
        rack.put_module(index, slot, &module);
    }
    BusInventory take(const BoardName& bus, std::initializer_list<const char*> names)
    {
        const std::vector<PlannedModule> modules = plan(names);
        BusInventory inventory = kvn::take_inventory(provider, bus, modules_on(bus, modules));
        EXPECT_EQ(rack.open_handles(), 0U);
        EXPECT_THAT(rack.misuse(), testing::IsEmpty());
        return inventory;
    }
    [[nodiscard]] std::size_t calls_of(Function function) const
    {
        const auto calls = rack.journal();
        return static_cast<std::size_t>(std::ranges::count(calls, function, &mwvirtual::Call::function));
    }

    mwvirtual::Rack rack;
    std::size_t board = rack.add_board({"mwc4a", 3});
    std::size_t behind = rack.add_board({"mwc4a", 4});
    kvn::Provider provider{rack, "rack"};
};

TEST(Buses, OfAPlanAreItsOpenedBoards)
{
    const auto modules = plan({"b:1/1", "a:0/1.2", "b:1/2.3", "b:1/1", "a:0/3"});
    EXPECT_EQ(texts(buses_of(modules)), (std::vector<std::string>{"b:1", "a:0"}));
    EXPECT_EQ(texts(modules_on({"b", 1}, modules)), (std::vector<std::string>{"b:1/1", "b:1/2.3"}));
}

TEST_F(Inventory, OpensTheBusOnceAndAsksEachModule)
{
    const BusInventory inventory = take({"mwc4a", 3}, {"mwc4a:3/1", "mwc4a:3/2", "mwc4a:3/3", "mwc4a:3/4.1"});
    EXPECT_FALSE(inventory.failure);
    ASSERT_EQ(inventory.slots.size(), 4U);
    EXPECT_EQ(inventory.slots[0].module->device, "2v40cs144-4");
    EXPECT_EQ(inventory.slots[1].failure->number, 9061);
    EXPECT_EQ(inventory.slots[2].kind, SlotKind::processor);
    EXPECT_EQ(inventory.slots[3].module->device, "2s50tq144-5");
    EXPECT_EQ(calls_of(Function::MwOpenS), 1U);
    EXPECT_EQ(calls_of(Function::MwKSBStartSendMessageEx), 0U) << "no load";
    EXPECT_EQ(inventory.find(kvn::parse_module_name("mwc4a:3/4.1")), &inventory.slots[3]);
    EXPECT_EQ(inventory.find(kvn::parse_module_name("mwc4a:3/4")), nullptr);
}

TEST_F(Inventory, OfABoardThatCannotBeOpenedIsError9201)
{
    const BusInventory inventory = take({"mwc4a", 9}, {"mwc4a:9/1"});
    ASSERT_TRUE(inventory.failure);
    EXPECT_EQ(inventory.failure->number, 9201);
    EXPECT_THAT(inventory.slots, testing::IsEmpty());
}

TEST_F(Inventory, RefusesNamesOutOfRange)
{
    EXPECT_THROW((void)kvn::take_inventory(provider, {"mwc4a", 16}, {}), kvn::FailureError);
    const std::vector<ModuleName> wrong{{.board = {"mwc4a", 3}, .slot = 5}};
    EXPECT_THROW((void)kvn::take_inventory(provider, {"mwc4a", 3}, wrong), kvn::FailureError);
}

TEST_F(Inventory, IsTheSameAfterItsWayAsJson)
{
    for (const BusInventory& inventory :
         {take({"mwc4a", 3}, {"mwc4a:3/1", "mwc4a:3/2", "mwc4a:3/3", "mwc4a:3/4", "mwc4a:3/4.1"}),
          take({"mwc4a", 9}, {})}) {
        const Json json = to_json(inventory);
        const BusInventory back = kvn::read_bus_inventory(Json::parse(json.dump()));
        EXPECT_EQ(to_json(back).dump(), json.dump());
        EXPECT_EQ(back.bus, inventory.bus);
        EXPECT_EQ(back.failure, inventory.failure);
    }
}

/// A row with one member changed.
std::string mistake_with(const char* member, const Json& value)
{
    Json json = Json::parse(R"({"bus": "mwc4a:0", "failure": null, "slots": [{"module": "mwc4a:0/1",
        "slot": 1, "kind": "module", "info_words": [1, 2, 3, 4, 5], "identity": {"type": 2, "model": 4,
        "version": null, "device": "2v40cs144-4", "compression": "yes"}, "failure": {"status": 7, "number": 9061,
        "what": "Error", "why": null, "remedy": "look"}}]})");
    EXPECT_NO_THROW((void)kvn::read_bus_inventory(json));
    json[Json::json_pointer{member}] = value;
    try {
        (void)kvn::read_bus_inventory(json);
        return {};
    } catch (const kvn::FailureError& error) {
        EXPECT_EQ(error.failure().status, kvn::ExitStatus::internal);
        return error.what();
    }
}

TEST(InventoryJson, OfAnotherShapeIsRefused)
{
    const std::string head = "this is no inventory of a bus: ";
    EXPECT_THROW((void)kvn::read_bus_inventory(Json::array()), kvn::FailureError);
    EXPECT_THROW((void)kvn::read_bus_inventory(Json::object()), kvn::FailureError);
    EXPECT_EQ(mistake_with("/bus", 7), head + "bus is no text");
    EXPECT_THAT(mistake_with("/bus", "mwc4a:99"), testing::StartsWith(head));
    EXPECT_EQ(mistake_with("/slots", "none"), head + "slots is no list");
    EXPECT_EQ(mistake_with("/slots/0", 3), head + "an object was expected");
    EXPECT_THAT(mistake_with("/slots/0/module", "mwc4a:0/9"), testing::StartsWith(head));
    EXPECT_EQ(mistake_with("/slots/0/kind", "odd"), head + "kind is none of its words");
    EXPECT_EQ(mistake_with("/slots/0/info_words", Json::array({1, 2})),
              head + "info_words are not five numbers");
    EXPECT_EQ(mistake_with("/slots/0/info_words/0", -1),
              head + "info_words is no number from 0 to 4294967295");
    EXPECT_EQ(mistake_with("/slots/0/identity/type", 256), head + "type is no number from 0 to 255");
    EXPECT_EQ(mistake_with("/slots/0/identity/compression", nullptr), head + "compression is no text");
    EXPECT_EQ(mistake_with("/slots/0/failure/status", 0), head + "a failure has the status 0");
    EXPECT_EQ(mistake_with("/slots/0/failure/status", 13), head + "status is no number from 0 to 12");
    EXPECT_EQ(mistake_with("/slots/0/failure/number", 1.5),
              head + "number is no number from 0 to 2147483647");
    EXPECT_EQ(mistake_with("/failure", Json::object()), head + "it has no member status");
}
} // namespace
