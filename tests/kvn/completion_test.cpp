// SPDX-License-Identifier: Apache-2.0
// kvn completion: what may come next on a command line, and three shells that ask for it.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class KvnCompletion : public KvnOnBoards
{
protected:
    KvnCompletion()
    {
        const std::string folder_of_kvn = std::filesystem::path{KVN_PROGRAM}.parent_path();
        variables["PATH"] = folder_of_kvn + ":/usr/local/bin:/usr/bin:/bin";
        variables["HOME"] = folder;
        variables["TERM"] = "xterm";
    }

    /// The answer without descriptions.
    [[nodiscard]] std::vector<std::string> answer(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"completion", "bash", "--"});
        std::istringstream lines{kvn(std::move(words)).output};
        std::vector<std::string> found;
        for (std::string line; std::getline(lines, line);)
            found.push_back(line.substr(0, line.find('\t')));
        return found;
    }

    void write_script(const std::string& shell, const std::string& name) const
    {
        write(name, kvn({"completion", shell}).output);
    }
};

/// The text between two others.
std::string part(const std::string& text, const std::string& begin, const std::string& end)
{
    const std::size_t from = std::min(text.find(begin), text.size());
    return text.substr(from, text.find(end, from) - from);
}

/// The first groups of all matches.
std::vector<std::string> all_of(const std::string& text, const std::regex& pattern)
{
    std::vector<std::string> found;
    for (std::sregex_iterator match{text.begin(), text.end(), pattern}, end; match != end; ++match)
        found.push_back((*match)[1]);
    return found;
}

TEST_F(KvnCompletion, OffersEveryCommandAndEveryOptionOfTheHelp)
{
    const std::string help = kvn({"--help"}).output;
    std::vector<std::string> commands =
        all_of(part(help, "Subcommands:", "Examples:"), std::regex{"\n  ([a-z]+) "});
    EXPECT_THAT(commands, Contains("completion"));
    for (const std::string& command : commands) {
        const std::vector<std::string> options =
            all_of(part(kvn({command, "--help"}).output, "Options:", "Examples:"),
                   std::regex{"\n  [^ ]*(--[a-z-]+)"});
        EXPECT_THAT(options, Contains("--help")) << command;
        const std::vector<std::string> offered = answer({command, "--"});
        for (const std::string& option : options)
            EXPECT_THAT(offered, Contains(option)) << command;
    }
    commands.insert(commands.begin(), "words");
    EXPECT_EQ(answer({""}), commands);
}

TEST_F(KvnCompletion, OffersWhatAnOptionTakes)
{
    EXPECT_THAT(answer({"load", "--progress", ""}), ElementsAre("words", "auto", "bar", "lines", "none"));
    EXPECT_THAT(answer({"load", "--progress=b"}), ElementsAre("words", "--progress=bar"));
    EXPECT_THAT(answer({"load", "--provider", ""}), ElementsAre("files", "virtual", "replay:"));
    EXPECT_THAT(answer({"load", "--rack", ""}), ElementsAre("files"));
    EXPECT_THAT(answer({"load", "--operator", ""}), ElementsAre("words"));
    EXPECT_THAT(answer({"load", "--device", "2v30"}), ElementsAre("words", "2v3000"));
    for (const char* number : {"--jobs", "--retries", "--module-timeout"})
        EXPECT_THAT(answer({"run", number, ""}), ElementsAre("words")) << number;
    EXPECT_THAT(answer({"journal", "verify", "--head", ""}), ElementsAre("words"));
    EXPECT_THAT(answer({"station", "--journals", ""}), ElementsAre("files"));
    EXPECT_THAT(answer({"load", "--plain=x"}), ElementsAre("words")) << "a flag takes nothing";
    EXPECT_THAT(answer({"completion", "z"}), ElementsAre("words", "zsh"));
}

TEST_F(KvnCompletion, CountsTheArgumentsBeforeTheWord)
{
    EXPECT_THAT(answer({"load", ""}), ElementsAre("files"));
    EXPECT_THAT(answer({"load", "a.bit", "mwc4a:0/"}),
                ElementsAre("words", "mwc4a:0/1", "mwc4a:0/2", "mwc4a:0/1.1", "mwc4a:0/1.2"));
    EXPECT_THAT(answer({"load", "--plain", "--progress", "bar", "a.bit", "mwc4a:0/2"}),
                ElementsAre("words", "mwc4a:0/2"));
    EXPECT_THAT(answer({"load", "a.bit", "mwc4a:0/1", ""}), ElementsAre("words")) << "load takes no third";
    EXPECT_THAT(answer({"explain", "9103", "9104", "942"}), ElementsAre("words", "9420", "9421", "9422"));
    EXPECT_THAT(answer({"digest", "a.bit", "b.bit", ""}), ElementsAre("files"));
    EXPECT_THAT(answer({"laod", ""}), testing::Not(Contains("files"))) << "there is no such command";
}

TEST_F(KvnCompletion, OffersTheBoardsOfTheRackThatTheCommandLineNames)
{
    use_rack();
    EXPECT_THAT(answer({"list", "--rack", "rack.toml", ""}),
                ElementsAre("words", "mwc4a", "mwc4a:0", "mwc4a:0/1"));
    EXPECT_THAT(answer({"list", "--rack=rack.toml", "mwc4a:"}), ElementsAre("words", "mwc4a:0", "mwc4a:0/1"));
    EXPECT_THAT(answer({"support", "a.tar.gz", "--boards", "mwc4a:1"}), ElementsAre("words", "mwc4a:1"));
    variables["MWVIRTUAL_RACK"] = "rack.toml";
    EXPECT_THAT(answer({"list", "mwc4a:"}), ElementsAre("words", "mwc4a:0", "mwc4a:0/1"));
    EXPECT_THAT(answer({"list", "--provider", "libmwapi.so", ""}), ElementsAre("words"))
        << "real boards are not asked";
    write("rack.toml", "no rack");
    EXPECT_THAT(answer({"list", ""}), ElementsAre("words"));
    variables.erase("KVN_MWAPI");
    EXPECT_THAT(answer({"list", ""}), ElementsAre("words"));
}

TEST_F(KvnCompletion, OffersNoWordThatAShellWouldTakeForMoreThanAName)
{
    write("rack.toml",
          "[[board]]\ntype = \"a$(touch${IFS}x)\"\nnumber = 0\n[[board]]\ntype = \"b\"\nnumber = 0\n");
    EXPECT_THAT(answer({"list", "--rack", "rack.toml", ""}), ElementsAre("words", "b", "b:0"));
}

TEST_F(KvnCompletion, InBashCompletesCommandsModulesAndFiles)
{
    use_rack();
    make("2v40cs144-4", "design.rbt");
    write_script("bash", "kvn.bash");
    Terminal bash{{"bash", {"--norc", "--noprofile", "-i"}, folder, variables}};
    bash.type("PS1=; source ./kvn.bash\n");
    bash.type("kvn expl\t9103\n");
    bash.expect("Error 9103. Bitstream %s is not for a %s device.");
    bash.type("kvn load des\t--rack rack.toml mwc4a:0/\t--progress no\t\n");
    bash.expect("Result:");
    bash.type("exit\n");
    EXPECT_EQ(bash.finish(), 0);
    EXPECT_THAT(bash.shown(), HasSubstr("Module:         mwc4a:0/1"));
}

TEST_F(KvnCompletion, InZshCompletesCommandsModulesAndFiles)
{
    use_rack();
    make("2v40cs144-4", "design.rbt");
    write_script("zsh", "_kvn");
    Terminal zsh{{"zsh", {"-f", "-i"}, folder, variables}};
    zsh.type("PS1=; fpath=($PWD $fpath); autoload -Uz compinit; compinit -u -D; echo read''y\n");
    zsh.expect("ready");
    zsh.type("kvn expl\t9103\n");
    zsh.expect("Error 9103. Bitstream %s is not for a %s device.");
    zsh.type("kvn load des\t--rack rack.toml mwc4a:0/\t--progress no\t\n");
    zsh.expect("Result:");
    zsh.type("exit\n");
    EXPECT_EQ(zsh.finish(), 0);
    EXPECT_THAT(zsh.shown(), HasSubstr("Module:         mwc4a:0/1"));
}

TEST_F(KvnCompletion, InFishCompletesCommandsModulesAndFiles)
{
    use_rack();
    write("design.rbt", "");
    write_script("fish", "kvn.fish");
    const auto asked = [&](const std::string& line) {
        return run({"fish",
                    {"--no-config", "-c", "source kvn.fish; complete -C '" + line + "'"},
                    folder,
                    variables})
            .output;
    };
    EXPECT_EQ(asked("kvn expl"), "explain\tExplains error numbers and the statuses of loads\n");
    EXPECT_EQ(asked("kvn load design.rbt --rack rack.toml mwc4a:0/"), "mwc4a:0/1\t2v40cs144-4\n");
    EXPECT_THAT(asked("kvn load des"), HasSubstr("design.rbt"));
    EXPECT_EQ(asked("kvn load --progress no"), "none\n");
}
} // namespace
