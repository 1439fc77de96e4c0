// SPDX-License-Identifier: Apache-2.0
// A controller and workers that die, hang and babble: what it costs, and what the records say.
#include "run/controller.h"

#include "errors/failure.h"
#include "run/event.h"
#include "support/sudden_end.h"
#include "system/interrupts.h"
#include "test_signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace kvn
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Watcher final : public RunWatcher
{
public:
    void on_provider(const ProviderIdentity& provider) override { providers.push_back(provider.name); }
    void on_event(const Json& event) override
    {
        const std::string line =
            event.at("event").get<std::string>() + " " + event.value("module", std::string{});
        if (line == fails_at)
            throw FailureError{{.status = ExitStatus::file, .what = "the disk is full"}};
        if (event.at("event") != "progress")
            lines.push_back(line);
        if (on_line)
            on_line(line);
    }
    void on_text(const BoardName& bus, const std::string& line) override
    {
        if (line != "noise")
            texts.push_back(to_text(bus) + ": " + line);
    }

    std::vector<std::string> providers;
    std::vector<std::string> lines;
    std::vector<std::string> texts;
    std::string fails_at;
    std::function<void(const std::string&)> on_line;
};

/// Modules on boards 0 and up, two on each, and workers with faults.
class ControllerTest : public testing::Test
{
protected:
    ControllerTest() { system::ignore_broken_pipes(); }

    /// @param faults such as "0=dies-in-load"
    void run(std::vector<std::string> faults, unsigned boards = 1)
    {
        settings.worker = {FAKE_WORKER, std::move(faults)};
        settings.lock_prefix = [](const ProviderIdentity&) { return std::nullopt; };
        std::vector<PlannedModule> planned;
        for (unsigned board = 0; board < boards; ++board)
            for (unsigned slot = 1; slot <= 2; ++slot) {
                const ModuleName name{.board = {"mwc4a", board}, .slot = slot};
                planned.push_back({.module = name, .file = "design.bit"});
                loads.push_back({.module = name,
                                 .file = &file,
                                 .judged = {.file_sha256 = file.stored().sha256, .wire_bytes = 100},
                                 .serial_number = "0815",
                                 .timeout = load_timeout});
            }
        controller.emplace(settings, buses_of(planned), watcher, signals);
        controller->begin_inventory(planned);
        for (unsigned board = 0; board < boards; ++board)
            controller->send_ahead({"mwc4a", board}, file);
        inventory = controller->finish_inventory();
        controller->load(loads);
    }

    /// "configured, configured, 0, 1": verdict, state, status and attempts of a module.
    [[nodiscard]] std::string outcome(std::size_t module) const
    {
        const Json& record = controller->records().at(module);
        const Json& failure = record.at("failure");
        return record.at("verdict").get<std::string>() + ", " + record.at("state").get<std::string>() + ", " +
               std::to_string(failure.is_null() ? 0 : failure.at("status").get<int>()) + ", " +
               std::to_string(record.at("attempts").get<int>());
    }
    [[nodiscard]] std::string what(std::size_t module) const
    {
        return controller->records().at(module).at("failure").at("what").get<std::string>();
    }

    const std::string content = "not a bitstream, which the fake worker does not mind";
    const Input file = Input::from_bytes(
        {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}, "design.bit");
    RunSettings settings;
    std::optional<std::chrono::milliseconds> load_timeout;
    Watcher watcher;
    TestSignals signals;
    std::vector<ModuleLoad> loads;
    std::vector<BusInventory> inventory;
    std::optional<Controller> controller;
};

constexpr const char* CONFIGURED = "configured, configured, 0, 1";

TEST_F(ControllerTest, LoadsTheModulesOfABusInTheirOrder)
{
    run({});
    EXPECT_EQ(outcome(0), CONFIGURED);
    EXPECT_EQ(outcome(1), CONFIGURED);
    EXPECT_THAT(watcher.lines, ElementsAre("begun mwc4a:0/1", "finished mwc4a:0/1", "begun mwc4a:0/2",
                                           "finished mwc4a:0/2"));
    EXPECT_THAT(watcher.providers, ElementsAre("fake"));
    EXPECT_THAT(watcher.texts, IsEmpty());
}

TEST_F(ControllerTest, LoadsAllBuses)
{
    run({}, 8);
    for (std::size_t i = 0; i < loads.size(); ++i)
        EXPECT_EQ(outcome(i), CONFIGURED) << i;
    EXPECT_EQ(watcher.providers.size(), 1U);
}

TEST_F(ControllerTest, LoadsOneBusAfterTheOtherWithOneJob)
{
    settings.jobs = 1;
    run({}, 3);
    EXPECT_THAT(watcher.lines, ElementsAre("begun mwc4a:0/1", "finished mwc4a:0/1", "begun mwc4a:0/2",
                                           "finished mwc4a:0/2", "begun mwc4a:1/1", "finished mwc4a:1/1",
                                           "begun mwc4a:1/2", "finished mwc4a:1/2", "begun mwc4a:2/1",
                                           "finished mwc4a:2/1", "begun mwc4a:2/2", "finished mwc4a:2/2"));
}

TEST_F(ControllerTest, AsksEveryModule)
{
    run({}, 2);
    ASSERT_EQ(inventory.size(), 2U);
    EXPECT_EQ(inventory[1].failure, std::nullopt);
    ASSERT_EQ(inventory[1].slots.size(), 2U);
    EXPECT_EQ(to_text(inventory[1].slots[1].name), "mwc4a:1/2");
}

TEST_F(ControllerTest, ToleratesBannersBeforeAndBetweenEvents)
{
    run({"99=prints-banner", "0=prints"});
    EXPECT_EQ(outcome(0), CONFIGURED);
    EXPECT_THAT(watcher.texts, ElementsAre("mwc4a:0: Welcome to the boards", "mwc4a:0: version 7 ",
                                           "mwc4a:0: text without an end", "mwc4a:0: text without an end"));
}

TEST_F(ControllerTest, AWorkerThatDiesInALoadCostsItsOwnBus)
{
    run({"0=dies-in-load"}, 2);
    EXPECT_EQ(outcome(0), "failed, interrupted, 7, 1");
    EXPECT_EQ(what(0), std::string{"the worker of bus mwc4a:0 "} + SUDDEN_END);
    EXPECT_EQ(outcome(1), "not tried, untouched, 7, 0");
    EXPECT_EQ(what(1), "the load of mwc4a:0/2 was not begun: " + what(0));
    EXPECT_EQ(outcome(2), CONFIGURED);
    EXPECT_EQ(outcome(3), CONFIGURED);
}

TEST_F(ControllerTest, AWorkerThatDiesBeforeTheMessageLeavesTheModuleUntouched)
{
    run({"0=dies-before-load"});
    EXPECT_EQ(outcome(0), "not tried, untouched, 7, 0");
}

TEST_F(ControllerTest, AWorkerThatDiesAtTheBeginOfTheMessageLeavesTheStateUnknown)
{
    run({"0=dies-at-begin"});
    EXPECT_EQ(outcome(0), "failed, unknown, 7, 1");
}

TEST_F(ControllerTest, AWorkerThatDiesAfterTheMessageLeavesTheStateUnknown)
{
    run({"0=dies-after-end"});
    EXPECT_EQ(outcome(0), "failed, unknown, 7, 1");
}

TEST_F(ControllerTest, AWorkerThatHangsInALoadCostsItsOwnBus)
{
    load_timeout = 100ms;
    run({"0=hangs-in-load"});
    EXPECT_EQ(outcome(0), "timed out, unknown, 12, 1");
    EXPECT_EQ(what(0), "the load of mwc4a:0/1 has not moved a byte for 0.1 s");
    EXPECT_EQ(outcome(1), "not tried, untouched, 12, 0");
}

TEST_F(ControllerTest, AWorkerThatHangsBeforeTheMessageLeavesTheModuleUntouched)
{
    load_timeout = 100ms;
    run({"0=hangs-before-load"});
    EXPECT_EQ(outcome(0), "timed out, untouched, 12, 0");
}

TEST_F(ControllerTest, AWorkerThatHangsWhenItAsksIsAFailureOfItsBus)
{
    settings.module_timeout = 300ms;
    run({"0=hangs-when-asked"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_EQ(inventory[0].failure->status, ExitStatus::timed_out);
    EXPECT_EQ(inventory[0].failure->what, "the worker of bus mwc4a:0 has not answered for 0.3 s");
}

TEST_F(ControllerTest, AWorkerThatDiesWhenItAsksIsAFailureOfItsBus)
{
    run({"1=dies-when-asked"}, 2);
    EXPECT_EQ(inventory[0].failure, std::nullopt);
    ASSERT_TRUE(inventory[1].failure);
    EXPECT_EQ(inventory[1].failure->what, std::string{"the worker of bus mwc4a:1 "} + SUDDEN_END);
}

TEST_F(ControllerTest, AWorkerThatEndsAtOnceIsAFailureOfItsBus)
{
    run({"99=exits"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_EQ(inventory[0].failure->what, "the worker of bus mwc4a:0 ended with status 3");
    EXPECT_EQ(outcome(0), "not tried, untouched, 7, 0");
}

TEST_F(ControllerTest, AWorkerWithoutAProviderSaysWhy)
{
    run({"99=has-no-provider"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_EQ(inventory[0].failure->status, ExitStatus::no_module);
    EXPECT_EQ(inventory[0].failure->what, "no provider");
}

TEST_F(ControllerTest, AProgramThatCannotBeStartedIsAFailureOfItsBus)
{
    settings.worker = {};
    settings.lock_prefix = [](const ProviderIdentity&) { return std::nullopt; };
    settings.worker.program = "/nowhere/worker";
    const std::vector<PlannedModule> planned{{.module = {.board = {"mwc4a", 0}}, .file = "design.bit"}};
    Controller one{settings, buses_of(planned), watcher, signals};
    one.begin_inventory(planned);
    inventory = one.finish_inventory();
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_EQ(inventory[0].failure->what,
              "a worker cannot be started: /nowhere/worker: No such file or directory");
}

class Babble : public ControllerTest, public testing::WithParamInterface<std::pair<const char*, const char*>>
{
};

TEST_P(Babble, CostsItsOwnBus)
{
    const auto [fault, words] = GetParam();
    run({std::string{"0="} + fault}, 2);
    EXPECT_THAT(what(0), HasSubstr(words));
    EXPECT_THAT(what(0), HasSubstr("the worker of bus mwc4a:0 has said what it must not say"));
    EXPECT_EQ(outcome(1), "not tried, untouched, 7, 0");
    EXPECT_EQ(outcome(2), CONFIGURED);
    EXPECT_EQ(outcome(3), CONFIGURED);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, Babble,
    testing::Values(std::pair{"babbles", "it is no JSON: {\"event\":"},
                    std::pair{"says-long-line", "a line is longer than a megabyte"},
                    std::pair{"floods", "more text than a banner has"},
                    std::pair{"ends-first", "the steps of a load come once and in order"},
                    std::pair{"says-verdict-first", "a module has no verdict before its load has ended"},
                    std::pair{"names-other-module", "this module is not being loaded"},
                    std::pair{"stands-still", "the bytes of a load become more, after its begin"},
                    std::pair{"goes-back", "the bytes of a load become more, after its begin"}),
    [](const auto& test) {
        std::string name = test.param.first;
        std::erase(name, '-');
        return name;
    });

TEST_F(ControllerTest, AnswersForAnotherBusAreNotTaken)
{
    run({"0=answers-for-another-bus"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_THAT(inventory[0].failure->what, HasSubstr("it is of another bus"));
}

TEST_F(ControllerTest, AnswersThatAreNoInventoryAreNotTaken)
{
    run({"0=answers-nonsense"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_THAT(inventory[0].failure->what, HasSubstr("this is no inventory of a bus"));
}

TEST_F(ControllerTest, GoesOnAfterAFailure)
{
    run({"0=refuses"});
    EXPECT_EQ(outcome(0), "refused, refused, 8, 1");
    EXPECT_EQ(outcome(1), "refused, refused, 8, 1");
}

TEST_F(ControllerTest, BeginsNothingAfterAFailureWhenItIsToStop)
{
    settings.stop_on_failure = true;
    settings.jobs = 1;
    run({"0=refuses"}, 2);
    EXPECT_EQ(outcome(0), "refused, refused, 8, 1");
    EXPECT_EQ(outcome(1), "not tried, untouched, 8, 0");
    EXPECT_EQ(outcome(2), "not tried, untouched, 8, 0");
    EXPECT_EQ(what(2), "the load of mwc4a:1/1 was not begun: the load of mwc4a:0/1 failed, and the run stops "
                       "on a failure");
}

TEST_F(ControllerTest, TriesAgainAfterAFailureOfTheBus)
{
    settings.retries = 1;
    run({"0=fails-by-bus-once"});
    EXPECT_EQ(outcome(0), "configured, configured, 0, 2");
    EXPECT_THAT(watcher.lines, ElementsAre("begun mwc4a:0/1", "begun mwc4a:0/1", "finished mwc4a:0/1",
                                           "begun mwc4a:0/2", "begun mwc4a:0/2", "finished mwc4a:0/2"));
}

TEST_F(ControllerTest, GivesUpAfterAsManyAttemptsAsAllowed)
{
    settings.retries = 2;
    run({"0=fails-by-bus"});
    EXPECT_EQ(outcome(0), "failed, interrupted, 7, 3");
}

TEST_F(ControllerTest, TriesNothingElseAgain)
{
    settings.retries = 5;
    run({"0=refuses"});
    EXPECT_EQ(outcome(0), "refused, refused, 8, 1");
}

TEST_F(ControllerTest, ASignalEndsTheAsking)
{
    signals.send();
    run({"0=hangs-when-asked"});
    ASSERT_TRUE(inventory[0].failure);
    EXPECT_EQ(inventory[0].failure->status, ExitStatus::cancelled);
    EXPECT_EQ(inventory[0].failure->what, "the run was ended by a signal");
    EXPECT_EQ(outcome(0), "not tried, untouched, 11, 0");
}

TEST_F(ControllerTest, BeginsNothingAfterASignal)
{
    watcher.on_line = [this](const std::string& line) {
        if (line == "begun mwc4a:0/1")
            signals.send();
    };
    run({});
    EXPECT_EQ(outcome(0), CONFIGURED);
    EXPECT_EQ(outcome(1), "not tried, untouched, 11, 0");
}

TEST_F(ControllerTest, LoadsNothingThatCannotBeKept)
{
    watcher.fails_at = "begun mwc4a:0/2";
    run({});
    EXPECT_EQ(outcome(0), CONFIGURED);
    EXPECT_EQ(outcome(1), "not tried, untouched, 3, 0");
    ASSERT_TRUE(controller->failure());
    EXPECT_EQ(controller->failure()->what, "the disk is full");
}

} // namespace
} // namespace kvn
