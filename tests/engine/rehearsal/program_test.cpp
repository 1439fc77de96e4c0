// SPDX-License-Identifier: Apache-2.0
// Programs that are run: what they get, and what comes back.
#include "system/program.h"

#include <gtest/gtest.h>

#include <system_error>

namespace
{
using kvn::system::ProgramOutcome;

constexpr std::chrono::milliseconds LONG{60'000};

/// Runs a script by the shell that every system has.
ProgramOutcome shell(const std::string& script, std::string_view input = "",
                     std::vector<std::string_view> files = {}, std::chrono::milliseconds timeout = LONG)
{
    return kvn::system::run_program({.program = "/bin/sh",
                                     .arguments = {"-c", script},
                                     .input = input,
                                     .files = std::move(files),
                                     .timeout = timeout});
}

TEST(Program, GetsItsInputAndFilesAndGivesItsOutput)
{
    const ProgramOutcome outcome = shell("cat; cat " + kvn::system::further_file(1) + " " +
                                             kvn::system::further_file(0) + "; echo wrong >&2; exit 3",
                                         "input ", {"first ", "second "});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_FALSE(outcome.timed_out);
    EXPECT_EQ(outcome.output, "input second first ");
    EXPECT_EQ(outcome.errors, "wrong\n");
}

TEST(Program, TakesMoreInputThanAPipeHolds)
{
    const std::string large(std::size_t{1} << 20, 'x');
    EXPECT_EQ(shell("wc -c", large).output, "1048576\n");
}

TEST(Program, HasAnEnvironmentOfItsOwn)
{
    ::setenv("KVN_SECRET", "here", 1);
    EXPECT_EQ(shell("echo $KVN_SECRET $LC_ALL $PATH").output, "C /usr/bin:/bin\n");
    ::unsetenv("KVN_SECRET");
}

TEST(Program, InheritsNoDescriptor)
{
    const ProgramOutcome outcome = shell("ls /proc/$$/fd", "", {"a file"});
    EXPECT_EQ(outcome.output, "0\n1\n2\n3\n");
}

TEST(Program, KeepsSixtyFourKibibytesOfOutput)
{
    const ProgramOutcome outcome = shell("head -c 1000000 /dev/zero");
    EXPECT_EQ(outcome.status, 0) << "the rest is read and dropped";
    EXPECT_EQ(outcome.output.size(), 65536U);
}

TEST(Program, IsKilledAfterItsTimeOut)
{
    const ProgramOutcome waiting = shell("exec sleep 1000", "", {}, std::chrono::milliseconds{50});
    EXPECT_TRUE(waiting.timed_out);
    EXPECT_EQ(waiting.status, -1);
    const ProgramOutcome silent =
        shell("exec >&- 2>&-; exec sleep 1000", "", {}, std::chrono::milliseconds{50});
    EXPECT_TRUE(silent.timed_out) << "closing its streams is not its end";
}

TEST(Program, ThatIsEndedByASignalHasNoStatus)
{
    const ProgramOutcome outcome = shell("kill -9 $$");
    EXPECT_EQ(outcome.status, -1);
    EXPECT_FALSE(outcome.timed_out);
}

TEST(Program, ThatCannotBeStartedIsAnError)
{
    EXPECT_THROW(
        (void)kvn::system::run_program(
            {.program = "/nonexistent/program", .arguments = {}, .input = {}, .files = {}, .timeout = LONG}),
        std::system_error);
}
} // namespace
