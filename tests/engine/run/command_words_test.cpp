// SPDX-License-Identifier: Apache-2.0
// Words of a shell's command line, split and quoted; and the words that start a worker elsewhere.
#include "run/command_words.h"

#include "errors/failure.h"
#include "run/remote_load.h"
#include "system/command_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvn
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

std::string failure_of(const std::string& line)
{
    try {
        (void)split_words(line);
    } catch (const FailureError& error) {
        EXPECT_EQ(error.failure().status, ExitStatus::usage);
        return error.failure().what;
    }
    return "none";
}

TEST(CommandWords, AreSplitAtBlanks)
{
    EXPECT_THAT(split_words(" ssh\tbench3 \n"), ElementsAre("ssh", "bench3"));
    EXPECT_THAT(split_words(" \t"), IsEmpty());
}

TEST(CommandWords, KeepWhatQuotesHold)
{
    EXPECT_THAT(split_words(R"(ssh -o 'a b'"c d" '')"), ElementsAre("ssh", "-o", "a bc d", ""));
    EXPECT_THAT(split_words(R"('a\b"c' "it's")"), ElementsAre(R"(a\b"c)", "it's"));
}

TEST(CommandWords, TakeWhatFollowsABackslashAsItIs)
{
    EXPECT_THAT(split_words(R"(a\ b \"c \\)"), ElementsAre("a b", "\"c", "\\"));
    EXPECT_THAT(split_words(R"("a\"b\\c\$d\`e\n")"), ElementsAre("a\"b\\c$d`e\\n"));
}

TEST(CommandWords, AreNotExpanded)
{
    EXPECT_THAT(split_words("$HOME ~ *.bit a;b | c # d"),
                ElementsAre("$HOME", "~", "*.bit", "a;b", "|", "c", "#", "d"));
}

TEST(CommandWords, ThatAreNotFinishedAreAnError)
{
    EXPECT_EQ(failure_of("ssh 'bench3"), "ssh 'bench3: a quote is not closed");
    EXPECT_EQ(failure_of("ssh \"bench3"), "ssh \"bench3: a quote is not closed");
    EXPECT_EQ(failure_of("ssh \\"), "ssh \\: nothing follows the backslash");
}

TEST(CommandWords, AreReadAsTheyWereQuoted)
{
    for (const char* word : {"", "plain", "two words", "it's", "$HOME", "a\\b", "\"", "~", "new\nline"})
        EXPECT_THAT(split_words(system::shell_word(word)), ElementsAre(word));
}

TEST(WorkersElsewhere, AreQuotedForTheShellThatSshStarts)
{
    const std::vector<std::string> arguments{"worker", "--rack", "my rack.toml"};
    for (const char* ssh : {"ssh", "/usr/bin/ssh"}) {
        const WorkerProgram worker = worker_behind(std::string{ssh} + " -p 2222 bench3", arguments);
        EXPECT_EQ(worker.program, ssh);
        EXPECT_THAT(worker.arguments,
                    ElementsAre("-p", "2222", "bench3", "kvn", "worker", "--rack", "'my rack.toml'"));
        EXPECT_EQ(worker.via, std::string{ssh} + " -p 2222 bench3");
    }
}

TEST(WorkersElsewhere, AreStartedWithTheWordsAsTheyAreWithoutAShell)
{
    const std::vector<std::string> arguments{"worker", "--rack", "my rack.toml"};
    const WorkerProgram worker = worker_behind("podman exec -i bench", arguments);
    EXPECT_EQ(worker.program, "podman");
    EXPECT_THAT(worker.arguments,
                ElementsAre("exec", "-i", "bench", "kvn", "worker", "--rack", "my rack.toml"));
}

TEST(WorkersElsewhere, NeedAWord)
{
    EXPECT_THROW((void)worker_behind(" ", {}), FailureError);
}

} // namespace
} // namespace kvn
