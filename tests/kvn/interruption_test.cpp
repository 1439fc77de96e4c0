// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM during a load: the first lets it finish, the second cuts it off.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <csignal>

namespace
{
using testing::HasSubstr;

class KvnInterruption : public KvnOnBoards, public testing::WithParamInterface<int>
{
protected:
    void SetUp() override
    {
        make("2v40cs144-4", "design.bit");
        variables["NO_COLOR"] = "1";
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
    }

    /// Of a load that takes as long as the bus does.
    [[nodiscard]] Command slow_load(const std::string& bytes_per_second) const
    {
        use_rack("bytes_per_second = " + bytes_per_second + "\n");
        return command({"load", "design.bit", "mwc4a:0/1", "--plain"});
    }
};

TEST_P(KvnInterruption, TheFirstSignalLetsTheLoadFinish)
{
    Terminal terminal{slow_load("100_000")};
    terminal.expect("mwc4a:0/1  0 %");
    terminal.signal(GetParam());
    terminal.expect("kvn: what is under way is finished first; a second signal cuts it off");
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(), HasSubstr("Result:         configured: its FPGA runs"));
    EXPECT_THAT(terminal.shown(),
                HasSubstr(GetParam() == SIGINT ? "kvn: ended by SIGINT" : "kvn: ended by SIGTERM"));
}

TEST_P(KvnInterruption, TheSecondSignalCutsTheLoadOff)
{
    Terminal terminal{slow_load("2_000")};
    terminal.expect("mwc4a:0/1  0 %");
    terminal.signal(GetParam());
    terminal.expect("a second signal cuts it off");
    terminal.signal(GetParam());
    terminal.expect("kvn: what is under way is cut off");
    EXPECT_EQ(terminal.finish(), 11);
    EXPECT_THAT(terminal.shown(),
                HasSubstr("Result:         cancelled; the module is interrupted: it has part of "
                          "the data and does not run"));
    EXPECT_THAT(terminal.shown(),
                HasSubstr("kvn: mwc4a:0/1: design.bit: the load of design.bit into mwc4a:0/1 "
                          "was cancelled"));
}

TEST_P(KvnInterruption, AnIgnoredSignalStaysIgnored)
{
    Command load = slow_load("100_000");
    std::string line = "trap '' INT TERM; exec " + load.program;
    for (const std::string& argument : load.arguments)
        line += " " + argument;
    Terminal terminal{{"/bin/sh", {"-c", line}, folder, variables}};
    terminal.expect("mwc4a:0/1  0 %");
    terminal.signal(GetParam());
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_THAT(terminal.shown(), testing::Not(HasSubstr("under way")));
}

INSTANTIATE_TEST_SUITE_P(Signals, KvnInterruption, testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Sigint" : "Sigterm"; });
} // namespace
