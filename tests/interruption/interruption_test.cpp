// SPDX-License-Identifier: Apache-2.0
// The utility stopped in the middle of a run: what it leaves on the disk, and that nobody takes it for whole.
//
// The utility reads from a named pipe that a test feeds and never ends, so that the run is not over when it
// is stopped. How far it is at least is known from what it has taken out of the pipe.
#include "utility_fixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace
{
void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(errno, std::generic_category(), what);
}

/// The writing end of a named pipe. Opening it waits for the reader.
class Feed
{
public:
    explicit Feed(const std::string& pipe) : descriptor_{open(pipe.c_str(), O_WRONLY | O_CLOEXEC)}
    {
        check(descriptor_ != -1, "open");
    }
    ~Feed() { close(descriptor_); }
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    /// Returns when the reader has taken all but what the pipe holds.
    void write(std::string_view content) const
    {
        while (!content.empty()) {
            const ssize_t taken = ::write(descriptor_, content.data(), content.size());
            check(taken > 0, "write");
            content.remove_prefix(static_cast<std::size_t>(taken));
        }
    }

private:
    int descriptor_;
};

class Interruption : public UtilityTest, public testing::WithParamInterface<int>
{
protected:
    Interruption() { signal(SIGPIPE, SIG_IGN); }

    void make_pipe(const std::string& name) const { check(mkfifo(path(name).c_str(), 0600) == 0, "mkfifo"); }

    /// Stops a conversion of this content, of which it has been fed the first part.
    void stop_conversion(const std::string& content, const std::string& extension, const std::string& option,
                         std::size_t part) const
    {
        write_whole_file(path("whole" + extension), content);
        ASSERT_EQ(run(kvn_fpga({"-fwhole" + extension, option, "-u"})).status, 0);
        make_pipe("design" + extension);
        Running utility{kvn_fpga({"-fdesign" + extension, option, "-u"})};
        stop_fed(utility, path("design" + extension), std::string_view{content}.substr(0, part));
        std::filesystem::remove(path("design" + extension));
    }

    /// Stops a run that has been fed a part of its input.
    static void stop_fed(Running& utility, const std::string& pipe, std::string_view part)
    {
        const Feed feed{pipe};
        feed.write(part);
        EXPECT_EQ(utility.stop(GetParam()), 128 + GetParam());
    }

    /// The output is a beginning of the whole one, and not all of it.
    void expect_beginning(const std::string& extension) const
    {
        const std::string left = content("design" + extension);
        const std::string whole = content("whole" + extension);
        EXPECT_GE(left.size(), 65536U);
        EXPECT_LT(left.size(), whole.size());
        EXPECT_EQ(left, whole.substr(0, left.size()));
    }

    [[nodiscard]] std::string error_of(std::vector<std::string> arguments) const
    {
        const Outcome outcome = run(kvn_fpga(std::move(arguments)));
        EXPECT_EQ(outcome.status, 4);
        return outcome.errors;
    }
};

std::string name_of_signal(const testing::TestParamInfo<int>& signal)
{
    switch (signal.param) {
    case SIGINT:
        return "INT";
    case SIGTERM:
        return "TERM";
    case SIGHUP:
        return "HUP";
    default:
        return "KILL";
    }
}

/// Bytes without runs, so that the files are large.
Bytes noise(std::size_t size)
{
    Bytes data;
    for (std::size_t i = 0; i < size; ++i)
        data.push_back(static_cast<std::uint8_t>(i * 7 + i / 256));
    return data;
}

constexpr std::size_t SIZE = 200'000;
// A pipe holds 65536 bytes, and a stream gathers as many before it writes.
constexpr std::size_t HELD = 3 * 65536;

TEST_P(Interruption, OfAConversionToMcbLeavesABeginningThatEveryReaderRefuses)
{
    const std::string rbt = RbtFile{noise(SIZE)}.device("2v40cs144").text();
    stop_conversion(rbt, ".rbt", "-c", rbt.size() / 2);
    expect_beginning(".mcb");
    EXPECT_EQ(error_of({"-fdesign.mcb", "-r", "-u"}),
              "Error 9281. End of MCB file design.mcb reached unexpectedly.\n");
    use_test_provider();
    EXPECT_EQ(error_of({"-fdesign.mcb", "-u", "-dmwc4a", "-b0", "-s2"}),
              "Error 9159. End of MCB file design.mcb reached unexpectedly.\n");
}

TEST_P(Interruption, OfAConversionFromBitLeavesABeginningThatEveryReaderRefuses)
{
    stop_conversion(BitFile{noise(SIZE)}.content(), ".bit", "-c", SIZE - 1);
    expect_beginning(".mcb");
    EXPECT_EQ(error_of({"-fdesign.mcb", "-r", "-u"}),
              "Error 9281. End of MCB file design.mcb reached unexpectedly.\n");
}

TEST_P(Interruption, OfAConversionToRbtLeavesABeginningThatEveryReaderRefuses)
{
    McbFile mcb{noise(SIZE)};
    mcb.device = "2v40cs144";
    stop_conversion(mcb.content(), ".mcb", "-r", mcb.content().size() / 2 + HELD / 2);
    expect_beginning(".rbt");

    // The cut lies in a line, or between two.
    const std::string conversion_error = error_of({"-fdesign.rbt", "-c", "-u"});
    EXPECT_TRUE(conversion_error.starts_with("Error 9251.") || conversion_error.starts_with("Error 9256."))
        << conversion_error;
    use_test_provider();
    const std::string load_error = error_of({"-fdesign.rbt", "-u", "-dmwc4a", "-b0", "-s2"});
    EXPECT_TRUE(load_error.starts_with("Error 9107.") || load_error.starts_with("Error 9112.") ||
                load_error.starts_with("Error 9113."))
        << load_error;
}

// The output is opened, and so emptied, before the input's data is read.
TEST_P(Interruption, BeforeTheFirstBlockLeavesAnEmptyFileInPlaceOfAnOlderOne)
{
    // Less than a block of output, and more input than the pipe holds: when that is taken, the output is
    // open.
    const std::string text = RbtFile{noise(20'000)}.text();
    write_whole_file(path("design.mcb"), "an older output");
    make_pipe("design.rbt");
    Running utility{kvn_fpga({"-fdesign.rbt", "-c", "-u"})};
    stop_fed(utility, path("design.rbt"), std::string_view{text}.substr(0, 120'000));
    EXPECT_TRUE(std::filesystem::exists(path("design.mcb")));
    EXPECT_EQ(content("design.mcb"), "");
    EXPECT_EQ(error_of({"-fdesign.mcb", "-r", "-u"}),
              "Error 9270. Failed to read header section of MCB file design.mcb.\n");
}

TEST_P(Interruption, OfALoadSendsNothingFurtherAndTouchesNoFile)
{
    use_test_provider();
    const std::string text = RbtFile{noise(SIZE)}.device("2v40cs144").text();
    make_pipe("design.rbt");
    Running utility{kvn_fpga({"-fdesign.rbt", "-u", "-dmwc4a", "-b0", "-s2"})};
    stop_fed(utility, path("design.rbt"), std::string_view{text}.substr(0, text.size() / 2));
    const std::vector<std::string> calls = lines("journal");
    ASSERT_FALSE(calls.empty());
    std::size_t pieces = 0;
    for (const std::string& call : calls) {
        pieces += call.find("SendMessageDataEx") != std::string::npos ? 1 : 0;
        EXPECT_EQ(call.find("EndOfSendMessageEx"), std::string::npos)
            << "the load cannot have come to its end";
        EXPECT_EQ(call.find("MwClose"), std::string::npos)
            << "the system closes what a stopped program had open";
    }
    EXPECT_GT(pieces, 1000U);
    std::filesystem::remove(path("design.rbt"));
    std::filesystem::remove(path("journal"));
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << "a load writes no file";
}

/// A platform that has reached its pipe, and waits until this goes.
using Held = Feed;

/// Runs that are held up in the platform or in a question, with a log of what they print.
class StoppedRun : public Interruption
{
protected:
    StoppedRun() { use_test_provider(); }

    /// KVN_FPGA with its standard output in "log" and its errors in "errors", or both in "log".
    [[nodiscard]] Command logged(std::vector<std::string> arguments, bool together = false) const
    {
        Command shell = kvn_fpga(std::move(arguments));
        shell.arguments.insert(shell.arguments.begin(),
                               {"-c",
                                together ? R"(exec "$0" "$@" >log 2>&1)" : R"(exec "$0" "$@" >log 2>errors)",
                                KVN_FPGA_PROGRAM});
        shell.program = "/bin/sh";
        return shell;
    }

    /// The platform stops at the pipe that a variable of it names.
    std::string hold(const std::string& variable)
    {
        make_pipe("hold");
        variables[variable] = path("hold");
        return path("hold");
    }

    [[nodiscard]] static std::string stopped()
    {
        const char* name = GetParam() == SIGINT ? "SIGINT" : GetParam() == SIGTERM ? "SIGTERM" : "SIGHUP";
        return std::string{"KVN_FPGA: stopped by "} + name + " ";
    }
};

const std::string PART = "interrupted, it has part of the data and does not run";
const std::string UNTOUCHED = "untouched, nothing of a load has reached a module\n";

TEST_P(StoppedRun, OfALoadTellsThatTheModuleIsInterruptedAndKeepsTheLog)
{
    for (const bool together : {false, true}) {
        const std::string text = RbtFile{noise(SIZE)}.device("2v40cs144").text();
        make_pipe("design.rbt");
        Running utility{logged({"-u", "-n", "-fdesign.rbt", "-dmwc4a", "-b3", "-s2"}, together)};
        stop_fed(utility, path("design.rbt"), std::string_view{text}.substr(0, text.size() / 2));
        const std::string line = stopped() + "while loading the module in slot 0x32: " + PART + "\n";
        const std::string log = content("log");
        EXPECT_TRUE(log.starts_with("\n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x32 (via "
                                    "'mwc4a 3')\n"))
            << log;
        EXPECT_NE(log.find("\r% Done: 2"), std::string::npos) << log;
        if (together) {
            EXPECT_TRUE(log.ends_with("\n" + line)) << log;
        } else {
            EXPECT_EQ(content("errors"), line);
        }
        std::filesystem::remove(path("design.rbt"));
    }
}

TEST_P(StoppedRun, OfABatchTellsHowManyModulesWereConfigured)
{
    const std::string pipe = hold("KVN_TEST_HOLD");
    write_rbt("small.rbt");
    write_rbt("large.rbt", 1000);
    write("rack.con", "small mwc4a 1 0x12\nsmall mwc4a 2 0x22\nlarge mwc4a 3 0x32\n");
    Running utility{logged({"-n", "rack"})};
    const Held held{pipe};
    EXPECT_EQ(utility.stop(GetParam()), 128 + GetParam());
    EXPECT_EQ(content("errors"), stopped() + "while loading the module in slot 0x32: " + PART +
                                     "; 2 modules configured before\n");
    EXPECT_TRUE(content("log").ends_with("Checking header section of the file <large.rbt>.\n\r% Done: 62"))
        << content("log");
}

TEST_P(StoppedRun, WhileTheVerdictIsAwaitedTellsThatItIsUnknown)
{
    const std::string pipe = hold("KVN_TEST_HOLD_REPLY");
    write_rbt("design.rbt");
    Running utility{logged({"-u", "-fdesign", "-dmwc4a", "-b0", "-s2"})};
    const Held held{pipe};
    EXPECT_EQ(utility.stop(GetParam()), 128 + GetParam());
    EXPECT_EQ(content("errors"),
              stopped() +
                  "while waiting for the verdict of the module in slot 0x2: unknown, it has all data, "
                  "and its verdict is not known\n");
}

TEST_P(StoppedRun, BehindALoadTellsThatTheModuleIsConfigured)
{
    write_rbt("design.rbt");
    Terminal terminal{kvn_fpga({"-fdesign", "-dmwc4a", "-b0", "-s2"})};
    terminal.expect("Press return to send configuration bitstream.\n");
    terminal.type("\n");
    terminal.expect("Press return to continue.\n");
    terminal.signal(GetParam());
    EXPECT_EQ(terminal.finish(), 128 + GetParam());
    EXPECT_TRUE(
        terminal.shown().ends_with("Press return to continue.\n" + stopped() +
                                   "after loading the module in slot 0x2: configured, its FPGA runs\n"))
        << terminal.shown();
}

TEST_P(StoppedRun, BeforeALoadTellsThatNothingWasTouched)
{
    write_rbt("design.rbt");
    Terminal asking{kvn_fpga({})};
    asking.expect("> ");
    asking.signal(GetParam());
    EXPECT_EQ(asking.finish(), 128 + GetParam());
    EXPECT_EQ(asking.shown(), "Enter the name of the bitstream RBT, MCB, or BIT file:\n> \n" + stopped() +
                                  "before the load of a module: " + UNTOUCHED);
    Terminal open{kvn_fpga({"-fdesign", "-dmwc4a", "-b0", "-s2"})};
    open.expect("Press return to send configuration bitstream.\n");
    open.signal(GetParam());
    EXPECT_EQ(open.finish(), 128 + GetParam());
    EXPECT_TRUE(open.shown().ends_with(".\n" + stopped() + "before the load of a module: " + UNTOUCHED))
        << open.shown();
}

TEST_P(StoppedRun, OfAConversionTellsThatItsOutputIsIncomplete)
{
    make_pipe("design.rbt");
    Running utility{logged({"-c", "-fdesign.rbt"})};
    const Feed feed{path("design.rbt")};
    EXPECT_EQ(utility.stop(GetParam()), 128 + GetParam());
    EXPECT_EQ(content("errors"), stopped() + "during a conversion, whose output is incomplete: " + UNTOUCHED);
}

TEST_P(StoppedRun, ASignalThatIsIgnoredStaysIgnored)
{
    const std::string text = RbtFile{8}.text();
    make_pipe("design.rbt");
    Command shell =
        kvn_fpga({"-c",
                  R"(trap '' INT TERM HUP; "$0" -c -fdesign.rbt & exec 3>design.rbt; kill -)" +
                      std::to_string(GetParam()) + R"( $!; printf %s "$1" >&3; exec 3>&-; wait $!)",
                  KVN_FPGA_PROGRAM, text});
    shell.program = "/bin/sh";
    const Outcome outcome = run(shell);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
}

using KilledRun = StoppedRun;
INSTANTIATE_TEST_SUITE_P(Signals, StoppedRun, testing::Values(SIGINT, SIGTERM, SIGHUP), name_of_signal);

TEST_P(KilledRun, LeavesAllCompleteLinesInTheLog)
{
    const std::string pipe = hold("KVN_TEST_HOLD");
    write_rbt("small.rbt");
    write_rbt("large.rbt", 1000);
    write("rack.con", "small mwc4a 1 0x12\nlarge mwc4a 3 0x32\n");
    Running utility{logged({"-n", "rack"})};
    const Held held{pipe};
    EXPECT_EQ(utility.stop(GetParam()), 128 + GetParam());
    const std::string log = content("log");
    EXPECT_NE(log.find("Configuration was successful.\n\n\nChecking for KAVRIN-FPGA"), std::string::npos)
        << log;
    EXPECT_NE(log.find("Checking header section of the file <large.rbt>.\n"), std::string::npos) << log;
}

INSTANTIATE_TEST_SUITE_P(Signals, Interruption, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL),
                         name_of_signal);
INSTANTIATE_TEST_SUITE_P(Signals, KilledRun, testing::Values(SIGKILL), name_of_signal);

class SizeLimit : public UtilityTest
{
protected:
    /// A conversion that may write 64 KiB.
    [[nodiscard]] Outcome convert(const char* preparation) const
    {
        RbtFile{noise(SIZE)}.write(path("design.rbt"));
        return run({"/bin/bash",
                    {"-c", std::string{preparation} + R"(ulimit -f 64; exec "$@")", "bash", KVN_FPGA_PROGRAM,
                     "-fdesign.rbt", "-c", "-u"},
                    folder,
                    variables});
    }
    void expect_refused_beginning() const
    {
        EXPECT_EQ(std::filesystem::file_size(path("design.mcb")), 65536U);
        EXPECT_EQ(run(kvn_fpga({"-fdesign.mcb", "-r", "-u"})).errors,
                  "Error 9281. End of MCB file design.mcb reached unexpectedly.\n");
    }
};

TEST_F(SizeLimit, OfAFileEndsTheProgramAndLeavesABeginning)
{
    EXPECT_EQ(convert("").status, 128 + SIGXFSZ);
    expect_refused_beginning();
}

TEST_F(SizeLimit, OfAFileIsAnErrorWhenTheSignalIsIgnored)
{
    const Outcome outcome = convert("trap '' XFSZ; ");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(outcome.errors.starts_with("Error 925")) << outcome.errors;
    EXPECT_TRUE(outcome.errors.ends_with(". Cannot write MCB file data to MCB file design.mcb.\n"))
        << outcome.errors;
    expect_refused_beginning();
}
} // namespace
