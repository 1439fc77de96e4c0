// SPDX-License-Identifier: Apache-2.0
// kvn run and kvn worker on virtual boards that outlive their processes: what they say, and what the modules
// hold.
#include "report/module_json.h"
#include "run/bus_lock.h"
#include "run/event.h"
#include "run/worker_protocol.h"
#include "system/process.h"
#include "two_boards.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sstream>

namespace
{
using Line = nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class KvnRun : public KvnOnTwoBoards
{
protected:
    void SetUp() override
    {
        KvnOnTwoBoards::SetUp();
        variables["NO_COLOR"] = "1";
        make("v300pq240-5", "old.bit");
    }

    [[nodiscard]] static std::vector<std::string> words(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"run", "plan.toml"});
        return options;
    }
    [[nodiscard]] Outcome run_plan(std::vector<std::string> options = {}) const
    {
        return run(command(words(std::move(options))));
    }
    [[nodiscard]] std::vector<Line> events(std::vector<std::string> options, int status) const
    {
        options.insert(options.end(), {"--json", "--progress", "none"});
        const Outcome outcome = run(command(std::move(options)));
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        return events_in(outcome.output);
    }
    /// "begun mwc4a:0/1"
    [[nodiscard]] static std::vector<std::string> names(const std::vector<Line>& events)
    {
        std::vector<std::string> all;
        for (const Line& event : events)
            all.push_back(event.value("event", "head") + " " + event.value("module", ""));
        return all;
    }
    [[nodiscard]] std::string journal() const
    {
        for (const auto& entry : std::filesystem::directory_iterator{folder})
            if (entry.path().extension() == ".journal")
                return entry.path().filename().string();
        return "";
    }
};

TEST_F(KvnRun, LoadsEveryModuleOfAPlan)
{
    const Outcome outcome = run_plan({"--progress", "lines"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(states(), ALL_RUNNING);
    EXPECT_THAT(outcome.output, HasSubstr("Result:  4 configured\n"));
    EXPECT_THAT(outcome.output, HasSubstr("Journal: plan.toml.2"));
    EXPECT_THAT(outcome.errors, HasSubstr(ANNOUNCED));
    EXPECT_THAT(outcome.errors, HasSubstr("mwc4a:1/2: loading design.bit, "));
    EXPECT_THAT(outcome.errors, HasSubstr("mwc4a:1/2: configured\n"));
}

TEST_F(KvnRun, TellsEveryStepAsAStreamOfEvents)
{
    const std::vector<Line> all = events(words({}), 0);
    EXPECT_EQ(all.front()["kvn"], "events");
    EXPECT_EQ(all[1]["event"], "planned");
    EXPECT_EQ(all[1]["modules"].size(), 4U);
    EXPECT_EQ(all.back()["event"], "result");
    EXPECT_EQ(all.back()["counts"]["configured"], 4);
    for (const char* module : {"mwc4a:0/1", "mwc4a:0/2", "mwc4a:1/1", "mwc4a:1/2"}) {
        EXPECT_THAT(names(all), Contains(std::string{"begun "} + module).Times(1));
        EXPECT_THAT(names(all), Contains(std::string{"finished "} + module).Times(1));
    }
}

TEST_F(KvnRun, SendsNothingInARehearsal)
{
    const std::vector<Line> all = events(words({"--dry-run"}), 0);
    EXPECT_THAT(names(all), ElementsAre("head ", "planned ", "result "));
    EXPECT_EQ(states(), "");
    EXPECT_EQ(journal(), "");
}

TEST_F(KvnRun, SendsNothingWhenTheRehearsalFindsAProblem)
{
    write("plan.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"design.bit\"\n"
                       "[[module]]\nmodule = \"mwc4a:1/1\"\nfile = \"old.bit\"\n"
                       "[[module]]\nmodule = \"mwc4a:1/2\"\nfile = \"none.bit\"\n");
    const std::vector<Line> all = events(words({}), 10);
    EXPECT_THAT(names(all), Contains("problem ").Times(2));
    EXPECT_EQ(all.back()["counts"]["not tried"], 2) << "a line without its file makes no module";
    EXPECT_EQ(states(), "");
}

TEST_F(KvnRun, EndsWithAResultOnEveryPath)
{
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"run"},
                                                  {"run", "--jobs"},
                                                  {"run", "plan.toml", "--jobz", "3"},
                                                  {"run", "plan.toml", "--serial", "x"}}) {
        const std::vector<Line> all = events(wrong, 2);
        EXPECT_THAT(names(all), ElementsAre("head ", "result "));
        EXPECT_EQ(all.back()["failure"]["status"], 2);
    }
    EXPECT_THAT(names(events({"run", "nowhere.con"}, 3)), ElementsAre("head ", "result "));
    write("empty.con", "");
    EXPECT_EQ(events({"run", "empty.con"}, 10).back()["status"], 10);
    EXPECT_EQ(events(words({"--provider", "./none.so"}), 10).back()["status"], 10);
}

TEST_F(KvnRun, ReadsAConFile)
{
    make("2v40cs144-4", "design.rbt");
    write("rack.con", "design mwc4a 0 1\ndesign mwc4a 0 2\n");
    EXPECT_EQ(run(command({"run", "rack.con", "--progress", "none"})).status, 0);
    EXPECT_EQ(states(), "mwc4a:0/1 running, mwc4a:0/2 running");
}

TEST_F(KvnRun, LoadsOneBusAfterTheOther)
{
    const std::vector<std::string> all = names(events(words({"--jobs", "1"}), 0));
    EXPECT_LT(std::ranges::find(all, "finished mwc4a:0/2"), std::ranges::find(all, "begun mwc4a:1/1"));
    EXPECT_EQ(states(), ALL_RUNNING);
}

TEST_F(KvnRun, GoesOnAfterARefusal)
{
    use_boards("", "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\nnth = 1\n");
    const std::vector<Line> all = events(words({}), 8);
    EXPECT_EQ(all.back()["counts"]["refused"], 4);
}

TEST_F(KvnRun, SeveralOutcomesHaveAStatusOfTheirOwn)
{
    write("rack.toml", "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n"
                       "[[board.slot]]\nnumber = 1\nkind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n"
                       "[[board.slot]]\nnumber = 2\nkind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n"
                       "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\n");
    plan({"mwc4a:0/1", "mwc4a:0/2"});
    const std::vector<Line> all = events(words({}), 9);
    EXPECT_EQ(all.back()["counts"]["refused"], 1);
    EXPECT_EQ(all.back()["counts"]["configured"], 1);
}

TEST_F(KvnRun, AWorkerThatIsKilledCostsItsOwnBus)
{
    use_boards("bytes_per_second = 20_000\n");
    Terminal terminal{command(words({}))};
    terminal.expect("mwc4a:0/1  ");
    const std::string process = std::to_string(terminal.process());
    std::istringstream children{read_whole_file("/proc/" + process + "/task/" + process + "/children")};
    std::string worker;
    ASSERT_TRUE(children >> worker);
    ASSERT_EQ(run({"kill", {"-KILL", worker}, folder, {}}).status, 0);
    EXPECT_EQ(terminal.finish(), 9);
    EXPECT_THAT(terminal.shown(), HasSubstr("was ended by signal 9 (Killed)"));
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:  2 configured, 1 failed, 1 not tried"));
    EXPECT_THAT(states(), HasSubstr(" part of its data"));
}

TEST_F(KvnRun, TheFirstSignalBeginsNothingNew)
{
    use_boards("bytes_per_second = 40_000\n");
    Terminal terminal{command(words({}))};
    terminal.expect("mwc4a:0/1  ");
    terminal.expect("mwc4a:1/1  ");
    terminal.signal(SIGINT);
    terminal.expect("a second signal cuts it off");
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_EQ(states(), "mwc4a:0/1 running, mwc4a:1/1 running");
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:  2 configured, 2 not tried"));
}

TEST_F(KvnRun, TheSecondSignalCutsTheLoadsOff)
{
    use_boards("bytes_per_second = 2_000\n");
    Terminal terminal{command(words({}))};
    terminal.expect("mwc4a:0/1  ");
    terminal.expect("mwc4a:1/1  ");
    terminal.signal(SIGTERM);
    terminal.expect("a second signal cuts it off");
    terminal.signal(SIGTERM);
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_EQ(states(), "mwc4a:0/1 part of its data, mwc4a:1/1 part of its data");
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:  2 cancelled, 2 not tried"));
}

TEST_F(KvnRun, WorkersCloseTheirBusesWhenTheControllerIsKilled)
{
    use_boards("bytes_per_second = 2_000\n");
    {
        Terminal terminal{command(words({}))};
        terminal.expect("mwc4a:0/1  ");
        terminal.signal(KILL);
        EXPECT_EQ(terminal.finish(), 128 + KILL);
    }
    // The folder can be emptied as soon as no module receives a message.
    while (run({KVN_RACK_PROGRAM, {"state", "--power-cycle"}, folder, {}}).status == 7) {
    }
    EXPECT_EQ(states(), "mwc4a:0/1 empty, mwc4a:1/1 empty");
    use_boards();
    EXPECT_EQ(run_plan({"--progress", "none"}).status, 0);
    EXPECT_EQ(states(), ALL_RUNNING);
}

TEST_F(KvnRun, NamesWhoHoldsABus)
{
    const auto prefix = kvn::lock_prefix({.name = "virtual", .simulated = true}, path("state").c_str());
    const auto held = kvn::BusLock::take(path("locks"), prefix.value(), {"mwc4a", 1}, "the test");
    const std::vector<Line> all = events(words({}), 10);
    const std::string what =
        "bus mwc4a:1 is held by process " + std::to_string(kvn::system::own_process_id());
    EXPECT_THAT(all[2]["what"].get<std::string>(), HasSubstr(what));
    EXPECT_EQ(states(), "");
}

TEST_F(KvnRun, GoesOnWhereAJournalEnds)
{
    plan({"mwc4a:0/1", "mwc4a:0/2"});
    ASSERT_EQ(run_plan({"--journal", "first.journal", "--progress", "none"}).status, 0);
    const std::vector<Line> all =
        events(words({"--resume", "first.journal", "--journal", "second.journal"}), 0);
    EXPECT_THAT(names(all), Not(Contains("begun mwc4a:0/1")));
    EXPECT_THAT(names(all), Contains("kept mwc4a:0/1"));
    EXPECT_EQ(all.back()["counts"]["configured"], 2);
}

TEST_F(KvnRun, TheJournalCanBeVerified)
{
    ASSERT_EQ(run_plan({"--journal", "a.journal", "--progress", "none"}).status, 0);
    EXPECT_EQ(run(command({"journal", "verify", "a.journal"})).status, 0);
}

TEST_F(KvnRun, OneDesignInTwoFilesIsLoadedFromBoth)
{
    ASSERT_EQ(run({"gzip", {"-k", "design.bit"}, folder, {}}).status, 0);
    write("two.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"design.bit\"\n"
                      "[[module]]\nmodule = \"mwc4a:0/2\"\nfile = \"design.bit.gz\"\n");
    const std::vector<Line> all = events({"run", "two.toml"}, 0);
    EXPECT_THAT(names(all), Contains("finished mwc4a:0/2"));
    EXPECT_EQ(all[all.size() - 2]["record"]["file"], "design.bit.gz");
    EXPECT_EQ(states(), "mwc4a:0/1 running, mwc4a:0/2 running");
}

TEST_F(KvnRun, ALimitOnTheSizeOfFilesIsReportedAsAFullDisk)
{
    // The copy of a bitstream in memory is a file as well.
    const std::string run_limited = "ulimit -f 1; exec " KVN_PROGRAM " run plan.toml --progress none";
    const Outcome outcome = run({"bash", {"-c", run_limited}, folder, variables});
    EXPECT_EQ(outcome.status, 10);
    EXPECT_THAT(outcome.errors, HasSubstr("design.bit: File too large"));
    EXPECT_EQ(states(), "");
    EXPECT_EQ(journal(), "");
}

TEST_F(KvnRun, AResultThatTheJournalHasNoRoomForIsAFailure)
{
    // Records larger than the bitstream, whose copy in memory counts as well.
    const std::string options = " --progress none --json --operator " + std::string(30'000, 'x');
    const std::string run_plan = std::string{KVN_PROGRAM} + " run plan.toml" + options;
    ASSERT_EQ(run({"bash", {"-c", run_plan + " --journal a.journal"}, folder, variables}).status, 0);
    const std::uintmax_t size = std::filesystem::file_size(path("a.journal"));
    const std::string run_limited = "exec prlimit --fsize=" + std::to_string(size - 100) + " " + run_plan;
    const Outcome outcome = run({"bash", {"-c", run_limited + " --journal b.journal"}, folder, variables});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.output, HasSubstr("{\"event\":\"result\",\"status\":3,"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("{\"event\":\"result\",\"status\":0,")));
    EXPECT_EQ(states(), ALL_RUNNING);
}

TEST_F(KvnRun, WritesReports)
{
    ASSERT_EQ(run_plan({"--report", "a.html", "--report", "a.xml", "--progress", "none"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(path("a.html")));
    EXPECT_TRUE(std::filesystem::exists(path("a.xml")));
}

TEST_F(KvnRun, RefusesWhatIsNotInTheManifest)
{
    write("manifest", std::string(64, 'a') + "  design.bit\n");
    EXPECT_EQ(events(words({"--manifest", "manifest"}), 10).back()["status"], 10);
    EXPECT_EQ(states(), "");
}

TEST_F(KvnRun, SerialNumbersAreGivenOrAskedForOnATerminal)
{
    plan({"mwc4a:0/1"}, "serial = \"ask\"\n");
    EXPECT_EQ(events(words({}), 10).back()["status"], 10);
    const std::vector<Line> all = events(words({"--serial", "mwc4a:0/1=0815"}), 0);
    EXPECT_EQ(all[all.size() - 2]["record"]["serial_number"], "0815");
    Terminal terminal{command(words({"--journal", "asked.journal"}))};
    terminal.expect("Serial number of mwc4a:0/1: ");
    terminal.type("4711\n");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(read_whole_file(path("asked.journal")), HasSubstr("\"serial_number\":\"4711\""));
}

TEST_F(KvnRun, ATerminalHasARowForEachBusAndOneOfCounts)
{
    use_boards("bytes_per_second = 40_000\n");
    Terminal terminal{command(words({}))};
    terminal.expect("mwc4a:0/1  ");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(), HasSubstr("of 4 modules: "));
    EXPECT_THAT(terminal.shown(), HasSubstr(" left\n"));
}

/// kvn worker alone.
class KvnWorker : public KvnRun
{
protected:
    /// @param jobs without `end`
    [[nodiscard]] std::vector<Line> answers(const std::string& jobs, int status) const
    {
        const Outcome outcome = run(command({"worker"}), jobs);
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        std::vector<Line> all;
        std::istringstream lines{outcome.output};
        for (std::string line; std::getline(lines, line);)
            all.push_back(Line::parse(line));
        return all;
    }
    [[nodiscard]] std::string file_and_its_job() const
    {
        const std::string content = read_whole_file(path("design.bit"));
        return kvn::event_line(kvn::file_job(input(), input().stored().sha256)) + content;
    }
    [[nodiscard]] kvn::Input input() const { return kvn::Input::from_path(path("design.bit")); }
    [[nodiscard]] std::string load_of(const std::string& device) const
    {
        const kvn::Inspection inspection = kvn::inspect(input());
        return kvn::event_line(kvn::load_job({.module = {.board = {"mwc4a", 0}, .slot = 1},
                                              .file = kvn::file_key(input().name(), input().stored().sha256),
                                              .judged = {.file_sha256 = input().stored().sha256,
                                                         .device = device,
                                                         .format = kvn::Format::bit,
                                                         .part = inspection.part,
                                                         .digest = inspection.digest}}));
    }
    const std::string end = kvn::event_line(kvn::end_job());
};

TEST_F(KvnWorker, LoadsTheBytesThatItWasGiven)
{
    const std::vector<Line> all = answers(file_and_its_job() + load_of("2v40cs144-4") + end, 0);
    EXPECT_THAT(names(all), Contains("finished mwc4a:0/1"));
    EXPECT_EQ(all.back()["record"]["verdict"], "configured") << all.back();
    EXPECT_EQ(states(), "mwc4a:0/1 running");
}

TEST_F(KvnWorker, AsksTheModulesAgainBeforeTheFirstByte)
{
    const std::vector<Line> all = answers(file_and_its_job() + load_of("2v80cs144-4") + end, 0);
    EXPECT_EQ(all.back()["record"]["failure"]["what"],
              "the module in mwc4a:0/1 has a 2v40cs144-4 (by its own word); " + path("design.bit") +
                  " was approved for a 2v80cs144-4");
    EXPECT_EQ(states(), "");
}

TEST_F(KvnWorker, RefusesAFileThatArrivesDamaged)
{
    std::string jobs = file_and_its_job();
    jobs.back() = static_cast<char>(~jobs.back());
    const std::vector<Line> all = answers(jobs + end, 1);
    EXPECT_EQ(all.back()["failure"]["what"], path("design.bit") + " has reached the worker damaged");
}

TEST_F(KvnWorker, ToleratesNothingForeign)
{
    const std::vector<Line> all = answers("ls\n", 2);
    EXPECT_EQ(all.back()["failure"]["what"], "the worker has read what is no job: it is no JSON");
}

TEST_F(KvnWorker, EndsWhenTheJobsEndWithoutWarning)
{
    EXPECT_EQ(answers("", 0).size(), 2U);
}
} // namespace
