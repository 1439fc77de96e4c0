// SPDX-License-Identifier: Apache-2.0
// A load by a worker elsewhere that works, dies, hangs, babbles or is of another version: what the record
// says.
#include "run/remote_load.h"

#include "../module/load_support.h"
#include "errors/failure.h"
#include "module/module_name.h"
#include "report/module_json.h"
#include "run/worker_protocol.h"
#include "support/sudden_end.h"
#include "system/interrupts.h"
#include "test_signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvn
{
namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* DEVICE = "2v40cs144-4";

class Watcher final : public RemoteLoadWatcher
{
public:
    void on_provider(const ProviderIdentity& provider) override
    {
        providers.push_back(provider.name);
        if (on_ready)
            on_ready();
    }
    void on_progress(const Progress& progress) override
    {
        bytes.push_back(progress.bytes);
        if (on_bytes)
            on_bytes(progress.bytes);
    }
    void on_text(const std::string& line) override
    {
        if (line != "noise")
            texts.push_back(line);
    }

    std::vector<std::string> providers;
    std::vector<std::uint64_t> bytes;
    std::vector<std::string> texts;
    std::function<void()> on_ready;
    std::function<void(std::uint64_t)> on_bytes;
};

class RemoteLoad : public testing::Test
{
protected:
    RemoteLoad() { system::ignore_broken_pipes(); }

    /// @param faults of the fake worker, such as "0=dies-in-load"
    Record load(std::vector<std::string> faults)
    {
        return load_remotely(
            {.worker = {FAKE_WORKER, std::move(faults), "ssh bench3"},
             .load = {.module = {.board = {"mwc4a", 0}, .slot = 1}, .file = &file, .serial_number = "0815"},
             .timeout = timeout},
            watcher, signals);
    }
    /// "configured, configured, 0, 1": verdict, state, status and attempts.
    std::string outcome(std::vector<std::string> faults)
    {
        record = load(std::move(faults));
        const int status = record.failure ? static_cast<int>(record.failure->status) : 0;
        return std::string{name_of(record.verdict)} + ", " + std::string{name_of(record.state)} + ", " +
               std::to_string(status) + ", " + std::to_string(record.attempts);
    }
    Failure failure_of(std::vector<std::string> faults)
    {
        try {
            (void)load(std::move(faults));
        } catch (const FailureError& error) {
            return error.failure();
        }
        ADD_FAILURE() << "a worker answered";
        return {};
    }

    Input file = bitstream("design.bit", part_of(DEVICE), configuration(DEVICE));
    std::chrono::milliseconds timeout = 60s;
    Watcher watcher;
    TestSignals signals;
    Record record;
};

TEST_F(RemoteLoad, TellsWhatTheWorkerSays)
{
    EXPECT_EQ(outcome({}), "configured, configured, 0, 1");
    EXPECT_EQ(record.serial_number->value, "0815");
    EXPECT_THAT(watcher.providers, ElementsAre("fake"));
    EXPECT_THAT(watcher.texts, IsEmpty());
    ASSERT_EQ(watcher.bytes.size(), 3U);
    EXPECT_EQ(watcher.bytes[0], 0U);
    EXPECT_EQ(watcher.bytes[1], 10U);
    EXPECT_GT(watcher.bytes[2], 1000U);
}

TEST_F(RemoteLoad, PassesABannerOn)
{
    EXPECT_EQ(outcome({"99=prints-banner"}), "configured, configured, 0, 1");
    EXPECT_THAT(watcher.texts, ElementsAre("Welcome to the boards", "version 7 "));
}

TEST_F(RemoteLoad, HoldsThreeLinesUntilAWorkerAnswers)
{
    const Failure failure = failure_of({"99=babbles"});
    EXPECT_THAT(watcher.texts, ElementsAre("line 1", "line 2"));
    EXPECT_THAT(failure.why, testing::EndsWith(": line 3; line 4; line 5"));
}

TEST_F(RemoteLoad, RefusesAFileForAnotherDeviceBeforeItIsSent)
{
    file = bitstream("old.bit", "v50bg256", configuration("v50bg256-4"));
    // A worker that was told to load would die.
    EXPECT_EQ(outcome({"0=dies-before-load"}), "not tried, untouched, 5, 0");
    EXPECT_EQ(record.failure->what,
              "old.bit is for a v50bg256 (by its header); the module in mwc4a:0/1 has a "
              "2v40cs144-4 (by its own word)");
    EXPECT_EQ(record.identity->value.device, DEVICE);
    EXPECT_EQ(record.host, std::nullopt);
    EXPECT_THAT(watcher.bytes, IsEmpty());
}

TEST_F(RemoteLoad, RefusesADamagedFileBeforeTheModuleIsAsked)
{
    file = input_of("this is no bitstream", "design.bit");
    EXPECT_EQ(outcome({"0=dies-when-asked"}), "not tried, untouched, 4, 0");
}

TEST_F(RemoteLoad, RefusesASlotWithoutAModule)
{
    EXPECT_EQ(outcome({"0=has-empty-slots"}), "not tried, untouched, 6, 0");
    EXPECT_EQ(record.failure->what, "mwc4a:0/1 is empty");
}

TEST_F(RemoteLoad, AConnectionThatBreaksLeavesWhatADeadWorkerLeaves)
{
    EXPECT_EQ(outcome({"0=dies-in-load"}), "failed, interrupted, 7, 1");
    EXPECT_EQ(record.failure->what, std::string{"the worker of bus mwc4a:0 behind ssh bench3 "} + SUDDEN_END);
    EXPECT_THAT(record.failure->why, HasSubstr("the connection has broken"));
    EXPECT_EQ(record.host, std::nullopt);
    EXPECT_EQ(outcome({"0=dies-at-begin"}), "failed, unknown, 7, 1");
    EXPECT_EQ(outcome({"0=dies-after-end"}), "failed, unknown, 7, 1");
    EXPECT_EQ(outcome({"0=dies-before-load"}), "not tried, untouched, 7, 0");
    EXPECT_EQ(outcome({"0=dies-when-asked"}), "not tried, untouched, 7, 0");
}

TEST_F(RemoteLoad, BelievesTheWorkersWordsOnlyInTheirOrder)
{
    EXPECT_EQ(outcome({"0=says-verdict-first"}), "not tried, untouched, 7, 0");
    EXPECT_EQ(outcome({"0=ends-first"}), "not tried, untouched, 7, 0");
    EXPECT_EQ(outcome({"0=answers-nonsense"}), "not tried, untouched, 7, 0");
    EXPECT_EQ(outcome({"0=finishes-with-nonsense"}), "failed, unknown, 7, 1");
}

TEST_F(RemoteLoad, ALoadThatHangsTimesOut)
{
    timeout = 3s; // in which the worker must have started
    EXPECT_EQ(outcome({"0=hangs-in-load"}), "timed out, unknown, 12, 1");
    EXPECT_EQ(record.failure->remedy,
              "load the module again, with a longer --module-timeout for a slow bus; restart "
              "what drives the bus if it hangs again");
}

TEST_F(RemoteLoad, NoWorkerAnswersWhereTheWayIsClosed)
{
    const Failure failure = failure_of({"99=is-refused"});
    EXPECT_EQ(failure.status, ExitStatus::no_module);
    EXPECT_EQ(failure.what, "no worker answered behind ssh bench3");
    EXPECT_EQ(failure.why,
              "the worker of bus mwc4a:0 behind ssh bench3 ended with status 255: ssh: connect to "
              "host bench3 port 22: Connection refused");
    EXPECT_EQ(failure.remedy, "ssh bench3 kvn --version");
    EXPECT_THAT(watcher.texts, IsEmpty());
}

TEST_F(RemoteLoad, NoWorkerAnswersInTime)
{
    timeout = 300ms;
    const Failure failure = failure_of({"99=says-nothing"});
    EXPECT_EQ(failure.status, ExitStatus::timed_out);
    EXPECT_EQ(failure.what, "no worker answered behind ssh bench3");
}

TEST_F(RemoteLoad, AWorkerOfAnotherMajorVersionIsToldApart)
{
    const Failure failure = failure_of({"99=is-of-version-2"});
    EXPECT_EQ(failure.status, ExitStatus::no_module);
    EXPECT_EQ(failure.what,
              "the worker of bus mwc4a:0 behind ssh bench3 is kvn 2.0.0, whose events have the version "
              "2.0; this is kvn 1.0.0, which reads 1.1");
    EXPECT_EQ(failure.remedy, "install the same version of kvn on both hosts");
}

TEST_F(RemoteLoad, AWorkerOfAnotherMinorVersionIsFine)
{
    EXPECT_EQ(outcome({"99=is-of-version-1.7"}), "configured, configured, 0, 1");
}

TEST_F(RemoteLoad, AWorkerWithoutItsProviderSaysSo)
{
    const Failure failure = failure_of({"99=has-no-provider"});
    EXPECT_EQ(failure.status, ExitStatus::no_module);
    EXPECT_EQ(failure.what, "behind ssh bench3: no provider");
}

TEST_F(RemoteLoad, WordsThatAreNoProgramAreAUsageError)
{
    try {
        (void)load_remotely({.worker = worker_behind("no-such-program bench3", {}),
                             .load = {.module = {.board = {"mwc4a", 0}, .slot = 1}, .file = &file}},
                            watcher, signals);
        FAIL();
    } catch (const FailureError& error) {
        EXPECT_EQ(error.failure().status, ExitStatus::usage);
        EXPECT_EQ(error.failure().what,
                  "a worker cannot be started: no-such-program: No such file or directory");
    }
}

TEST_F(RemoteLoad, TheFirstSignalBeginsNothing)
{
    watcher.on_ready = [this] { signals.send(1); };
    EXPECT_EQ(outcome({}), "cancelled, untouched, 11, 0");
    EXPECT_EQ(record.failure->what, "the load of design.bit into mwc4a:0/1 was cancelled");
}

TEST_F(RemoteLoad, TheFirstSignalEndsTheWaitingForAWorker)
{
    signals.send(1);
    EXPECT_EQ(failure_of({"99=says-nothing"}).status, ExitStatus::cancelled);
}

TEST_F(RemoteLoad, TheFirstSignalLetsALoadFinish)
{
    watcher.on_bytes = [this](std::uint64_t bytes) { signals.send(bytes == 10 ? 1 : 0); };
    EXPECT_EQ(outcome({}), "configured, configured, 0, 1");
}

TEST_F(RemoteLoad, TheSecondSignalCutsALoadOff)
{
    watcher.on_bytes = [this](std::uint64_t bytes) { signals.send(bytes == 10 ? 2 : 0); };
    EXPECT_EQ(outcome({"0=heeds-cancel"}), "cancelled, interrupted, 11, 1");
}

TEST_F(RemoteLoad, ALoadThatIsCutOffAndDoesNotEndIsGivenUp)
{
    timeout = 3s; // in which the worker must have started
    watcher.on_bytes = [this](std::uint64_t bytes) { signals.send(bytes == 10 ? 2 : 0); };
    EXPECT_EQ(outcome({"0=hangs-in-load"}), "cancelled, interrupted, 11, 1");
    EXPECT_EQ(record.failure->what, "the load of mwc4a:0/1 was cancelled, and did not end");
}

TEST(ReadRecord, IsTheOppositeOfWriting)
{
    using Clock = std::chrono::system_clock;
    Record record;
    record.module = {parse_module_name("mwc4a:0/1.2"), Source::given};
    record.file = Fact<std::string>{"a.bit", Source::given};
    record.file_size = Fact<std::uint64_t>{7, Source::observed};
    record.problems = {{.what = "w", .remedy = "r", .stops = Stops::loads},
                       {.what = "n", .remedy = "", .stops = Stops::nothing}};
    record.identity = Fact<ModuleIdentity>{{.type = 2, .model = 4, .version = 2, .device = DEVICE}};
    record.device = Fact<std::string>{DEVICE, Source::observed};
    record.mode = Fact<LoadKind>{LoadKind::compressed, Source::intended};
    record.wire_bytes = Fact<std::uint64_t>{100, Source::intended};
    record.begin = Clock::time_point{1'700'000'000'125ms};
    record.seconds_on_wire = 0.25;
    record.attempts = 1;
    record.verdict = Verdict::refused;
    record.state = ModuleState::refused;
    record.answer = std::uint8_t{4};
    record.failure = Failure{.status = ExitStatus::refused, .number = 9120, .what = "w", .remedy = "r"};
    record.host = Fact<std::string>{"bench3", Source::observed};
    record.tool_version = "1.7.0";
    record.provider = {.name = "virtual", .version = "2", .simulated = true};
    const Json written = to_json(record);
    EXPECT_EQ(to_json(read_record(written)), written);
    Record empty;
    empty.module = record.module;
    EXPECT_EQ(to_json(read_record(to_json(empty))), to_json(empty));
}

TEST(ReadRecord, AnAnswerIsAByte)
{
    Record record;
    record.module = {parse_module_name("mwc4a:0/2"), Source::given};
    Json json = to_json(record);
    json["answer"] = 255;
    EXPECT_EQ(read_record(json).answer, std::uint8_t{255});
    json["answer"] = 256;
    EXPECT_THROW((void)read_record(json), EventError);
}

TEST(ReadRecord, RefusesMembersOfOtherTypes)
{
    Record record;
    record.module = {parse_module_name("mwc4a:0/2"), Source::given};
    const Json good = to_json(record);
    for (const char* name : {"file", "file_size", "problems", "identity", "mode", "begin", "seconds_on_wire",
                             "attempts", "verdict", "state", "answer", "failure", "provider", "sources"}) {
        Json bad = good;
        bad[name] = Json::array({true});
        EXPECT_THROW((void)read_record(bad), EventError) << name;
        bad.erase(name);
        EXPECT_THROW((void)read_record(bad), EventError) << name;
    }
}

} // namespace
} // namespace kvn
