// SPDX-License-Identifier: Apache-2.0
// kvn load --via: one module on one other host, behind a program that acts as ssh does.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* BANNER = "Welcome to bench3.\n";

class KvnRemoteLoad : public KvnOnBoards
{
protected:
    void SetUp() override
    {
        use_rack();
        make("2v40cs144-4", "design.bit");
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        variables["NO_COLOR"] = "1";
        use_ssh("echo \"Welcome to $1.\"\nshift\nexec sh -c \"$*\"\n");
        const std::string programs = std::filesystem::path{KVN_PROGRAM}.parent_path().string();
        variables["PATH"] = path("bin") + ":" + programs + ":" + std::getenv("PATH");
    }

    /// Puts a program into the place of ssh.
    void use_ssh(const std::string& script) const
    {
        std::filesystem::create_directories(folder / "bin");
        write("bin/ssh", "#!/bin/sh\n" + script);
        std::filesystem::permissions(folder / "bin/ssh", std::filesystem::perms::owner_all);
    }

    [[nodiscard]] Outcome load(std::vector<std::string> options = {},
                               const std::string& file = "design.bit") const
    {
        std::vector<std::string> arguments{"load", file, "mwc4a:0/1", "--via", "ssh bench3"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return kvn(std::move(arguments));
    }

    /// The command that a hint prints, as a shell runs it.
    [[nodiscard]] Outcome run_hint(const std::string& errors) const
    {
        const std::size_t begin = errors.rfind("try: ") + 5;
        return run(
            {"/bin/sh", {"-c", errors.substr(begin, errors.find('\n', begin) - begin)}, folder, variables});
    }
};

TEST_F(KvnRemoteLoad, SaysWhatALoadHereSays)
{
    const Outcome here = kvn({"load", "design.bit", "mwc4a:0/1"});
    const Outcome there = load();
    EXPECT_EQ(there.status, 0);
    EXPECT_EQ(without_seconds(there.output), without_seconds(here.output));
    EXPECT_EQ(there.errors, BANNER + here.errors);
}

TEST_F(KvnRemoteLoad, HasTheDocumentOfALoadHere)
{
    nlohmann::json here = json({"load", "design.bit", "mwc4a:0/1", "--serial", "0815"});
    nlohmann::json there = nlohmann::json::parse(load({"--serial", "0815", "--json"}).output);
    for (const char* time : {"begin", "end", "seconds_on_wire"}) {
        EXPECT_FALSE(there[time].is_null()) << time;
        here.erase(time);
        there.erase(time);
    }
    EXPECT_EQ(there, here);
}

TEST_F(KvnRemoteLoad, ShowsABar)
{
    EXPECT_THAT(load({"--progress", "bar"}).errors,
                EndsWith("\rmwc4a:0/1  100 %, 2226 of 2226 bytes, 0 s left\n"));
}

TEST_F(KvnRemoteLoad, TakesStandardInputAndAllModes)
{
    const Outcome piped =
        kvn({"load", "-", "mwc4a:0/1", "--via", "ssh bench3", "--plain"}, content("design.bit"));
    EXPECT_EQ(piped.status, 0);
    EXPECT_THAT(piped.output, HasSubstr("Load:           plain, 42374 bytes in "));
}

TEST_F(KvnRemoteLoad, PassesProviderAndRackOn)
{
    variables.erase("KVN_MWAPI");
    variables.erase("MWVIRTUAL_RACK");
    std::filesystem::rename(folder / "rack.toml", folder / "bob's rack.toml");
    EXPECT_EQ(load({"--provider", "virtual", "--rack", "bob's rack.toml"}).status, 0);
    const Outcome none = load({"--rack", "none.toml"});
    EXPECT_EQ(none.status, 6);
    EXPECT_THAT(none.errors, HasSubstr("none.toml"));
}

TEST_F(KvnRemoteLoad, RefusesWhatALoadHereRefuses)
{
    make("v50pq240-5", "old.rbt");
    make("2v40cs144-4", "bad.bit", "crc");
    for (const char* file : {"old.rbt", "bad.bit"}) {
        const Outcome here = kvn({"load", file, "mwc4a:0/1"});
        const Outcome there = load({}, file);
        EXPECT_NE(there.status, 0);
        EXPECT_EQ(there.status, here.status);
        EXPECT_EQ(there.output, here.output);
        EXPECT_EQ(there.errors, BANNER + here.errors);
    }
}

TEST_F(KvnRemoteLoad, TheHintForAFileThatCannotBeJudgedLeadsThereToo)
{
    variables["KVN_MWAPI"] = KVN_COUNTING_PROVIDER;
    variables["KVN_COUNTING_DEVICE"] = "2v41cs144-4"; // no device that is known
    std::string file = content("design.bit");
    file.replace(file.find("2v40cs144"), 9, "2v41cs144");
    write("design.bit", file);
    const Outcome refused = load({"--smallest"});
    EXPECT_EQ(refused.status, 10);
    EXPECT_THAT(refused.errors,
                EndsWith("\ntry: kvn load design.bit mwc4a:0/1 --smallest --via 'ssh bench3' --force\n"));
    EXPECT_EQ(run_hint(refused.errors).status, 0);
}

TEST_F(KvnRemoteLoad, SaysWhatSshSaysWhereNobodyAnswers)
{
    use_ssh("echo \"ssh: connect to host $1 port 22: Connection refused\" >&2\nexit 255\n");
    const Outcome lost = load();
    EXPECT_EQ(lost.status, 6);
    EXPECT_EQ(lost.output, "");
    EXPECT_EQ(lost.errors,
              "kvn: no worker answered behind ssh bench3\n"
              "why: the worker of bus mwc4a:0 behind ssh bench3 ended with status 255: ssh: connect to "
              "host bench3 port 22: Connection refused\n"
              "try: ssh bench3 kvn --version\n");
    const Outcome document = load({"--json"});
    EXPECT_EQ(nlohmann::json::parse(document.output)["kvn"], "failure");
    EXPECT_EQ(nlohmann::json::parse(document.output)["error"]["status"], 6);
}

TEST_F(KvnRemoteLoad, TheHintTellsWhetherKvnIsThere)
{
    use_ssh("shift\nPATH=/usr/bin:/bin\nexec sh -c \"$*\"\n");
    const Outcome lost = load();
    EXPECT_EQ(lost.status, 6);
    EXPECT_THAT(lost.errors, HasSubstr("not found\n"));
    EXPECT_NE(run_hint(lost.errors).status, 0);
    use_ssh("shift\nexec sh -c \"$*\"\n");
    EXPECT_THAT(run_hint(lost.errors).output, StartsWith("kvn "));
}

TEST_F(KvnRemoteLoad, AnOlderKvnIsToldApart)
{
    use_ssh("echo '{\"kvn\":\"events\",\"version\":\"0.9\",\"tool\":\"kvn 0.9.1\"}'\n");
    const Outcome older = load();
    EXPECT_EQ(older.status, 6);
    EXPECT_EQ(older.errors,
              "kvn: the worker of bus mwc4a:0 behind ssh bench3 is kvn 0.9.1, whose events have the "
              "version 0.9; this is kvn 1.0.0, which reads 1.1\n"
              "try: install the same version of kvn on both hosts\n");
}

TEST_F(KvnRemoteLoad, AConnectionThatBreaksLeavesTheModuleInterrupted)
{
    use_rack("bytes_per_second = 2_000\n");
    // The bytes of the load go on until the process that carries them is ended.
    use_ssh("shift\nsh -c \"$*\" | while read -r line; do\n  echo \"$line\"\n"
            "  case $line in *progress*) kill -9 0 ;; esac\ndone\n");
    const Outcome broken = load({"--plain"});
    EXPECT_EQ(broken.status, 7);
    EXPECT_THAT(broken.output,
                EndsWith("Result:         failed; the module is interrupted: it has part of the "
                         "data and does not run\n"));
    EXPECT_THAT(broken.errors, HasSubstr("why: the connection has broken"));
}

TEST_F(KvnRemoteLoad, UsageErrors)
{
    const Outcome no_module = kvn({"load", "design.bit", "--via", "ssh bench3"});
    EXPECT_EQ(no_module.status, 2);
    EXPECT_EQ(no_module.errors, "kvn: no module is named, and --via takes one\n"
                                "why: a module has a board type, the number of its board and a slot\n"
                                "try: ssh bench3 kvn list mwc4a\n");
    EXPECT_EQ(run_hint(no_module.errors).status, 0);
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1", "--via", " "}).status, 2);
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1", "--via", "ssh 'bench3"}).errors,
              "kvn: ssh 'bench3: a quote is not closed\n");
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1", "--module-timeout", "3"}).status, 2);
}

TEST_F(KvnRemoteLoad, TheFirstSignalLetsTheLoadFinish)
{
    use_rack("bytes_per_second = 20_000\n");
    Terminal terminal{command({"load", "design.bit", "mwc4a:0/1", "--plain", "--via", "ssh bench3"})};
    terminal.expect("mwc4a:0/1  1");
    terminal.signal(SIGINT);
    terminal.expect("kvn: what is under way is finished first; a second signal cuts it off");
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:         configured: its FPGA runs"));
    EXPECT_THAT(terminal.shown(), HasSubstr("kvn: ended by SIGINT"));
}

TEST_F(KvnRemoteLoad, TheSecondSignalCutsTheLoadOff)
{
    use_rack("bytes_per_second = 2_000\n");
    Terminal terminal{command({"load", "design.bit", "mwc4a:0/1", "--plain", "--via", "ssh bench3"})};
    terminal.expect("mwc4a:0/1  1 %");
    terminal.signal(SIGINT);
    terminal.expect("a second signal cuts it off");
    terminal.signal(SIGINT);
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:         cancelled; the module is interrupted"));
}
} // namespace
