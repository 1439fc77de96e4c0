// SPDX-License-Identifier: Apache-2.0
// kvn station: units on a terminal and out of a pipe, and what each leaves.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <sstream>

namespace
{
using Line = nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class KvnStation : public KvnOnBoards
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(path("locks"));
        variables["KVN_LOCK_FOLDER"] = path("locks");
        variables["MWVIRTUAL_RACK"] = path("boards.toml");
        variables["NO_COLOR"] = "1";
        make("2v40cs144-4", "design.bit");
        use_boards();
        plan();
    }

    /// A board with two modules.
    void use_boards(const std::string& of_board = "", const std::string& of_slot_1 = "") const
    {
        const std::string module = "kind = \"fpga\"\nmodel = 4\ndevice = \"2v40cs144-4\"\n";
        write("boards.toml", "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n" + of_board +
                                 "[[board.slot]]\nnumber = 1\n" + module + of_slot_1 +
                                 "[[board.slot]]\nnumber = 2\n" + module);
    }
    void plan(const std::string& more_of_1 = "", const std::string& more_of_2 = "") const
    {
        write("rack.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"design.bit\"\n" + more_of_1 +
                               "[[module]]\nmodule = \"mwc4a:0/2\"\nfile = \"design.bit\"\n" + more_of_2);
    }
    [[nodiscard]] Command station(std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(), {"station", "rack.toml"});
        return command(std::move(options));
    }
    [[nodiscard]] std::vector<Line> events(const Command& command, std::string_view numbers, int status) const
    {
        const Outcome outcome = run(command, numbers);
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        return events_in(outcome.output);
    }
    [[nodiscard]] std::vector<std::string> journals(const std::string& of_folder = ".") const
    {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator{folder / of_folder})
            if (entry.path().extension() == ".journal")
                all.push_back(entry.path().string());
        std::ranges::sort(all);
        return all;
    }
    /// The serial numbers that the records of all journals have, sorted.
    [[nodiscard]] std::vector<std::string> recorded_numbers() const
    {
        std::vector<std::string> all;
        for (const std::string& file : journals()) {
            std::istringstream lines{read_whole_file(file)};
            for (std::string text; std::getline(lines, text);) {
                const Line line = Line::parse(text);
                if (line.value("event", "") == "finished")
                    all.push_back(line["record"]["serial_number"].dump());
            }
        }
        std::ranges::sort(all);
        return all;
    }
};

std::vector<std::string> names(const std::vector<Line>& events)
{
    std::vector<std::string> all;
    for (const Line& event : events)
        if (event.value("event", "") != "progress")
            all.push_back(event.value("event", "head"));
    return all;
}

TEST_F(KvnStation, LoadsAUnitForEachLineOfItsInput)
{
    const Outcome outcome = run(station({"--progress", "none"}), "4711\r\n4712\n4711");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, ANNOUNCED) << "nobody reads a question";
    const std::string row = "\n" + std::string(29, '=') + "  PASS  4712  " + std::string(29, '=') + "\n";
    EXPECT_THAT(outcome.output, HasSubstr(row));
    EXPECT_THAT(outcome.output, HasSubstr("2 units: 2 passed, 0 failed\n\n"));
    EXPECT_THAT(outcome.output, HasSubstr("Session: 3 units: 3 passed, 0 failed\n"));
    EXPECT_EQ(outcome.output.find('\x1B'), std::string::npos);
    EXPECT_EQ(outcome.output.find('\a'), std::string::npos);
}

TEST_F(KvnStation, EachUnitHasAJournalWithItsNumberInEachRecord)
{
    plan("serial = \"1\"\n");
    ASSERT_EQ(run(station({"--progress", "none"}), "4711\n4712\n").status, 0);
    EXPECT_THAT(recorded_numbers(), ElementsAre("\"4711\"", "\"4711\"", "\"4712\"", "\"4712\""));
    ASSERT_EQ(journals().size(), 2U);
    for (const std::string& journal : journals())
        EXPECT_EQ(run(command({"journal", "verify", journal})).status, 0);
}

TEST_F(KvnStation, JournalsGoWhereTheyAreWanted)
{
    std::filesystem::create_directory(path("kept"));
    ASSERT_EQ(run(station({"--journals", "kept", "--operator", "A. Jones"}), "4711\n4712\n").status, 0);
    EXPECT_EQ(journals("kept").size(), 2U);
    EXPECT_THAT(journals(), IsEmpty());
    EXPECT_THAT(read_whole_file(journals("kept").front()), HasSubstr("\"operator_name\":\"A. Jones\""));
}

TEST_F(KvnStation, TellsAllUnitsAsOneStreamOfEvents)
{
    const std::vector<Line> all = events(station({"--json", "--progress", "none"}), "4711\n4712\n", 0);
    EXPECT_THAT(names(all),
                ElementsAre("head", "planned", "begun", "finished", "begun", "finished", "unit", "planned",
                            "begun", "finished", "begun", "finished", "unit", "result"));
    const Line& unit = all[all.size() - 2];
    EXPECT_EQ(unit["unit"], 2);
    EXPECT_EQ(unit["serial_number"], "4712");
    EXPECT_EQ(unit["passed"], true);
    EXPECT_TRUE(std::filesystem::exists(folder / unit["journal"].get<std::string>()));
    EXPECT_EQ(all.back()["counts"]["configured"], 4);
    EXPECT_EQ(all.back()["units"]["passed"], 2);
}

TEST_F(KvnStation, ShowsVerdictsOnStandardErrorWhereEventsAreWanted)
{
    const Outcome outcome = run(station({"--json", "--progress", "none"}), "4711\n");
    EXPECT_THAT(outcome.errors, HasSubstr("  PASS  4711  "));
}

TEST_F(KvnStation, EndsWithAResultOnEveryPath)
{
    const std::string input = "4711\n";
    const std::vector<std::pair<std::vector<std::string>, int>> runs = {
        {{"station"}, 2},
        {{"station", "rack.toml", "--jobs", "0"}, 2},
        {{"station", "nowhere.toml"}, 3},
        {{"station", "rack.toml", "--journals", "nowhere"}, 3},
        {{"station", "rack.toml", "--journals", "rack.toml"}, 3}};
    for (auto [words, status] : runs) {
        words.emplace_back("--json");
        const std::vector<Line> all = events(command(words), input, status);
        EXPECT_THAT(names(all), ElementsAre("head", "result"));
        EXPECT_EQ(all.back()["failure"]["status"], status);
    }
    EXPECT_THAT(names(events(station({"--json"}), "", 0)), ElementsAre("head", "result"));
    EXPECT_THAT(journals(), IsEmpty());
}

TEST_F(KvnStation, AUnitThatFailsIsShownWithModuleAndRemedy)
{
    use_boards("", "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\n");
    plan("name = \"left\"\n");
    const Outcome outcome = run(station({"--progress", "none"}), "4711\n");
    EXPECT_EQ(outcome.status, 9);
    const std::string row = "\n" + std::string(29, '#') + "  FAIL  4711  " + std::string(29, '#') + "\n";
    EXPECT_THAT(outcome.output, HasSubstr(row));
    EXPECT_THAT(outcome.output, HasSubstr("\nmwc4a:0/1 (left): design.bit: "));
    EXPECT_THAT(outcome.output, HasSubstr("\ntry: "));
    EXPECT_THAT(outcome.output, Not(HasSubstr("mwc4a:0/2")));
    EXPECT_THAT(outcome.output, HasSubstr("Session: 1 unit: 0 passed, 1 failed\n"));
}

TEST_F(KvnStation, SendsNothingWhenTheRehearsalFindsProblems)
{
    make("v300pq240-5", "old.bit");
    write("rack.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"old.bit\"\n"
                       "[[module]]\nmodule = \"mwc4a:0/2\"\nfile = \"none.bit\"\n");
    const std::vector<Line> all = events(station({"--json"}), "4711\n4712\n", 10);
    EXPECT_THAT(names(all), Not(Contains("begun")));
    EXPECT_EQ(all.back()["units"]["failed"], 2) << "the next question follows";
    EXPECT_THAT(journals(), IsEmpty());
    const Outcome outcome = run(station(), "4711\n");
    EXPECT_THAT(outcome.output, HasSubstr("\nrack.toml:1: "));
    EXPECT_THAT(outcome.output, HasSubstr("\nrack.toml:4: "));
    EXPECT_THAT(outcome.output, Not(HasSubstr("settle each of them")));
}

TEST_F(KvnStation, ReadsThePlanAnewForEachUnit)
{
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    std::filesystem::remove(path("rack.toml"));
    terminal.type("4711\n");
    terminal.expect("FAIL  4711");
    terminal.expect("rack.toml");
    terminal.expect("Serial number: ");
    plan();
    terminal.type("4711\n");
    terminal.expect("PASS  4711");
    terminal.expect("Serial number: ");
    terminal.type("\x04");
    EXPECT_EQ(terminal.finish(), 3);
    EXPECT_THAT(terminal.shown(), HasSubstr("Session: 2 units: 1 passed, 1 failed"));
}

TEST_F(KvnStation, AsksForTheNumberOfEachModuleThatDemandsOne)
{
    plan("serial = \"ask\"\nname = \"left\"\n", "serial = \"ask\"\n");
    Terminal terminal{station()};
    terminal.expect("Ctrl-D ends.");
    terminal.expect("Serial number of mwc4a:0/1 (left): ");
    terminal.type("a\n");
    terminal.expect("Serial number of mwc4a:0/2: ");
    terminal.type("a\n");
    terminal.expect("kvn: the serial number a was given for another module of this unit");
    terminal.expect("Serial number of mwc4a:0/2: ");
    terminal.type("b\n");
    terminal.expect("PASS  a, b");
    terminal.expect("Serial number of mwc4a:0/1 (left): ");
    terminal.type("c\n");
    terminal.expect("Serial number of mwc4a:0/2: ");
    terminal.type("\x04");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(),
                HasSubstr("kvn: the last unit was not begun: serial numbers of it are missing"));
    EXPECT_THAT(terminal.shown(), HasSubstr("Session: 1 unit: 1 passed, 0 failed"));
    EXPECT_THAT(recorded_numbers(), ElementsAre("\"a\"", "\"b\""));
}

TEST_F(KvnStation, AsksAgainAfterWhatIsNoSerialNumber)
{
    const std::string input =
        "\n47\x1B[2J\n\xFF\n" + std::string(129, '7') + "\n" + std::string(100'000, '8') + "\n4711\n";
    const Outcome outcome = run(station({"--progress", "none"}), input);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors,
              "kvn: a serial number is needed, and the line was empty\n"
              "kvn: a serial number has only characters that can be seen, in UTF-8, and the line has others\n"
              "kvn: a serial number has only characters that can be seen, in UTF-8, and the line has others\n"
              "kvn: a serial number has at most 128 bytes, and the line has more\n"
              "kvn: a serial number has at most 128 bytes, and the line has more\n" +
                  std::string{ANNOUNCED});
    EXPECT_THAT(outcome.output, HasSubstr("Session: 1 unit: 1 passed, 0 failed"));
}

TEST_F(KvnStation, FillsTheTerminalInColour)
{
    variables.erase("NO_COLOR");
    use_boards("", "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\n");
    std::string line = "stty cols 40 rows 24; exec " KVN_PROGRAM " station rack.toml";
    Terminal terminal{{"/bin/sh", {"-c", line}, folder, variables}};
    terminal.expect("Serial number: ");
    terminal.type("4711\n");
    const std::string edge(13, '#');
    terminal.expect("\x1B[1;7;31m" + std::string(40, '#') + "\x1B[0m\n\x1B[1;7;31m" + edge +
                    "  FAIL  4711  " + edge + "\x1B[0m\n");
    terminal.expect("\a");
    terminal.expect("Serial number: ");
    use_boards();
    terminal.type("4711\n");
    terminal.expect("\x1B[1;7;32m" + std::string(40, '=') + "\x1B[0m\n");
    terminal.expect("Serial number: ");
    terminal.type("\x04");
    EXPECT_EQ(terminal.finish(), 9);
}

TEST_F(KvnStation, HasTheStatusOfItsFailuresUntilTheyDiffer)
{
    write("rack.toml", "[[module]]\nmodule = \"mwc4a:0/1\"\nfile = \"design.bit\"\n");
    use_boards("", "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\n");
    EXPECT_EQ(run(station(), "4711\n4712\n").status, 8);
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    use_boards("", "[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 7\n");
    terminal.type("4711\n");
    terminal.expect("FAIL");
    terminal.expect("Serial number: ");
    write("rack.toml", "no plan");
    terminal.type("4712\n");
    terminal.expect("FAIL");
    terminal.expect("Serial number: ");
    terminal.type("\x04");
    EXPECT_EQ(terminal.finish(), 9);
}

TEST_F(KvnStation, AsksNothingWhereNumbersComeFromAPipe)
{
    Terminal terminal{
        {"/bin/sh", {"-c", "echo 4711 | " KVN_PROGRAM " station rack.toml"}, folder, variables}};
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(), HasSubstr("PASS  4711"));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("Serial number: ")));
}

TEST_F(KvnStation, ForgetsWhatIsTypedDuringARun)
{
    use_boards("bytes_per_second = 40_000\n");
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    terminal.type("4711\n");
    terminal.expect("mwc4a:0/1  ");
    terminal.type("4712\n");
    terminal.expect("PASS  4711");
    terminal.expect("Serial number: ");
    terminal.type("\x04");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(), HasSubstr("Session: 1 unit: 1 passed, 0 failed"));
}

TEST_F(KvnStation, ASignalAtTheQuestionEndsTheSession)
{
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    terminal.signal(SIGINT);
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(), HasSubstr("Session: 0 units: 0 passed, 0 failed\nkvn: ended by SIGINT\n"));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("under way")));
}

TEST_F(KvnStation, TheFirstSignalDuringARunLetsTheLoadFinish)
{
    use_boards("bytes_per_second = 40_000\n");
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    terminal.type("4711\n");
    terminal.expect("mwc4a:0/1  ");
    terminal.signal(SIGINT);
    terminal.expect("a second signal cuts it off");
    terminal.expect("FAIL  4711");
    terminal.expect("cancelled by SIGINT\n");
    terminal.expect("the load of mwc4a:0/2 was not begun: ");
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(), HasSubstr("Session: 1 unit: 0 passed, 1 failed"));
    ASSERT_EQ(journals().size(), 1U);
    EXPECT_THAT(read_whole_file(journals().front()), HasSubstr("\"verdict\":\"configured\""));
}

TEST_F(KvnStation, TheSecondSignalCutsTheLoadOff)
{
    use_boards("bytes_per_second = 2_000\n");
    Terminal terminal{station()};
    terminal.expect("Serial number: ");
    terminal.type("4711\n");
    terminal.expect("mwc4a:0/1  ");
    terminal.signal(SIGTERM);
    terminal.expect("a second signal cuts it off");
    terminal.signal(SIGTERM);
    terminal.expect("FAIL  4711");
    EXPECT_EQ(terminal.finish(), 11);
    ASSERT_EQ(journals().size(), 1U);
    EXPECT_THAT(read_whole_file(journals().front()), HasSubstr("\"verdict\":\"cancelled\""));
}

TEST_F(KvnStation, AsksForTheUnitsNumberByAConFile)
{
    make("2v40cs144-4", "design.rbt");
    write("rack.con", "design mwc4a 0 1\n");
    const std::vector<Line> all = events(command({"station", "rack.con", "--json"}), "4711\n", 0);
    EXPECT_EQ(all[all.size() - 3]["record"]["serial_number"], "4711");
}
} // namespace
