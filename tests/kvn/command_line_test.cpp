// SPDX-License-Identifier: Apache-2.0
// What all commands of kvn share: help, examples, unknown words, outputs that fail, colours.
#include "example_runs.h"
#include "kvn_fixture.h"
#include "support/journals.h"

#include <gmock/gmock.h>

#include <sstream>

namespace
{
using testing::HasSubstr;
using testing::Not;

const std::vector<std::string> COMMANDS = {"list",    "load",     "run",     "station",   "plan",
                                           "worker",  "convert",  "info",    "check",     "digest",
                                           "diff",    "estimate", "explain", "trace",     "report",
                                           "support", "journal",  "history", "completion"};

std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream text{line};
    std::vector<std::string> words;
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

/// The lines that follow "Examples:".
std::vector<std::string> examples_in(const std::string& help)
{
    std::istringstream text{help.substr(std::min(help.find("Examples:\n"), help.size()))};
    std::vector<std::string> examples;
    std::string line;
    std::getline(text, line);
    while (std::getline(text, line))
        if (!line.empty())
            examples.push_back(line);
    return examples;
}

class KvnCommandLine : public KvnOnBoards
{
protected:
    /// The files that examples name.
    void make_files()
    {
        make("2v3000fg676-4", "design.rbt");
        make("2v3000fg676-4", "design.mcb");
        make("2v3000fg676-4", "other.bit", "flipped-bit");
        write("rack.con", "design mwc4a 0 1\n");
        example::ExampleRun example;
        example.load(example::configured("mwc4a:0/1", 0, 1500)).end(kvn::ExitStatus::done);
        example.write(path("run.journal"));
        example.write(path("again.journal"));
        variables["MWVIRTUAL_TRACE"] = "run.jsonl";
        ASSERT_EQ(kvn({"list", "mwc4a:0"}).status, 0);
        variables.erase("MWVIRTUAL_TRACE");
        std::filesystem::create_directory(folder / "journals");
        journals::write_good(path("rack.journal"));
        journals::write_good(path("journals/rack.journal"));
    }
};

TEST_F(KvnCommandLine, EveryExampleOfEveryHelpWorks)
{
    make_files();
    for (const std::string& name : COMMANDS) {
        const Outcome help = kvn({name, "--help"});
        EXPECT_EQ(help.status, 0);
        const std::vector<std::string> examples = examples_in(help.output);
        EXPECT_EQ(examples.size(), 2U) << name;
        for (const std::string& example : examples) {
            SCOPED_TRACE(example);
            std::vector<std::string> words = words_of(example);
            ASSERT_EQ(words.front(), "kvn");
            words.erase(words.begin());
            if (words.back() == "design.mcb" && words.front() == "convert")
                std::filesystem::remove(folder / "design.mcb");
            if (words.front() == "support")
                std::filesystem::remove(folder / "fault.tar.gz");
            const Outcome outcome = kvn(words);
            EXPECT_EQ(outcome.status, 0) << outcome.errors;
            EXPECT_NE(outcome.output, "");
        }
    }
}

TEST_F(KvnCommandLine, TheHelpNamesAllCommandsAndItsExamplesWork)
{
    const Outcome help = kvn({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const std::string& name : COMMANDS)
        EXPECT_THAT(help.output, HasSubstr("\n  " + name + " "));
    EXPECT_EQ(examples_in(help.output).size(), 2U);
    EXPECT_EQ(kvn({"list", "--help"}).status, 0);
    EXPECT_EQ(json({"--help"})["kvn"], "help");
}

TEST_F(KvnCommandLine, TellsItsVersion)
{
    EXPECT_EQ(kvn({"--version"}).output, "kvn 1.0.0\n");
    const nlohmann::json document = json({"--version"});
    EXPECT_EQ(document["kvn"], "version");
    EXPECT_EQ(document["tool"], "kvn 1.0.0");
    EXPECT_EQ(document["library"], "kvn_fpga 2.7.0");
}

TEST_F(KvnCommandLine, AnUnknownWordIsAnsweredByTheNearest)
{
    EXPECT_EQ(kvn({"laod", "design.bit"}).errors,
              "kvn: there is no command laod; did you mean load? kvn --help lists all\n");
    EXPECT_EQ(kvn({"load", "a.bit", "mwc4a:0/1", "--palin"}).errors,
              "kvn: there is no option --palin; did you mean --plain? kvn load --help lists all\n");
    EXPECT_EQ(kvn({"load", "a.bit", "mwc4a:0/1", "--progress", "line"}).errors,
              "kvn: --progress: there is no line; did you mean lines?; kvn load --help tells more\n");
    EXPECT_EQ(kvn({"check", "a.bit", "--load", "zzzzzz"}).errors,
              "kvn: --load: there is no zzzzzz.; kvn check --help tells more\n");
    EXPECT_EQ(kvn({"--help"}).status, 0) << "what the hint says";
    EXPECT_EQ(kvn({"check", "--help"}).status, 0) << "what the hint says";
}

TEST_F(KvnCommandLine, AFullOutputIsReportedByEveryCommand)
{
    make_files();
    const std::vector<std::vector<std::string>> runs = {{"list", "mwc4a:0"},
                                                        {"info", "design.bit"},
                                                        {"check", "design.bit"},
                                                        {"digest", "design.bit"},
                                                        {"diff", "design.bit", "other.bit"},
                                                        {"estimate", "design.bit"},
                                                        {"explain", "9103"},
                                                        {"trace", "run.jsonl"},
                                                        {"journal", "show", "rack.journal"},
                                                        {"history"},
                                                        {"--version"},
                                                        {"--help"}};
    for (const auto& arguments : runs) {
        SCOPED_TRACE(arguments.front());
        const Outcome full = run(command(arguments), "", Output::full);
        EXPECT_EQ(full.status, 3);
        EXPECT_THAT(full.errors,
                    testing::EndsWith("kvn: cannot write to standard output: No space left on device\n"));
        EXPECT_EQ(run(command(arguments), "", Output::without_reader).status, 0)
            << "a reader that has gone has read enough";
    }
}

TEST_F(KvnCommandLine, AClosedOutputIsNotMistakenForAFile)
{
    make("2v40cs144-4", "a.bit");
    EXPECT_EQ(run(command({"info", "a.bit"}), "", Output::closed).status, 0);
}

TEST_F(KvnCommandLine, ColoursAreForTerminalsAndNeverUnderNoColor)
{
    use_rack();
    variables["MWVIRTUAL_RACK"] = path("rack.toml");
    variables["NO_COLOR"] = "";
    make("2v40cs144-4", "a.bit");
    const std::vector<std::string> load{"load", "a.bit", "mwc4a:0/1"};
    EXPECT_THAT(kvn(load).output, Not(HasSubstr("\x1B")));
    Terminal coloured{command(load)};
    EXPECT_EQ(coloured.finish(), 0);
    EXPECT_THAT(coloured.shown(), HasSubstr("\x1B[32mconfigured\x1B[0m: its FPGA runs"));
    variables["NO_COLOR"] = "1";
    Terminal plain{command(load)};
    EXPECT_EQ(plain.finish(), 0);
    EXPECT_THAT(plain.shown(), HasSubstr("Result:         configured: its FPGA runs"));
    EXPECT_THAT(plain.shown(), Not(HasSubstr("\x1B")));
}

TEST_F(KvnCommandLine, OnATerminalALoadIsOneRowThatEnds)
{
    use_rack();
    variables["MWVIRTUAL_RACK"] = path("rack.toml");
    make("2v40cs144-4", "a.bit");
    Terminal terminal{command({"load", "a.bit", "mwc4a:0/1"})};
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(), HasSubstr("\rmwc4a:0/1  100 %, 2226 of 2226 bytes, 0 s left\nModule:  "));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("loading a.bit")));
}
} // namespace
