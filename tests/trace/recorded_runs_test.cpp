// SPDX-License-Identifier: Apache-2.0
#include "encoding.h"
#include "recording.h"
#include "support/process.h"
#include "support/special_files.h"
#include "system/dynamic_library.h"
#include "trace_support.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace
{
const char* const RACK = R"(
[[board]]
type = "mwc4a"
number = 0

[[board.slot]]
number = 1
kind = "fpga"
model = 4
version = 2
device = "2v40cs144-4"
compression = "query"

[[board.slot]]
number = 2
kind = "fpga"
model = 3
version = 1
device = "v50pq240-5"
)";

const std::vector<std::string> LOAD{"-u", "-fnew.rbt", "-dmwc4a", "-b0", "-s1"};
const std::vector<std::string> PLAIN_LOAD{"-u", "-n", "-fnew.bit", "-dmwc4a", "-b0", "-s1"};
const std::string NOT_OPENED = "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (";

/// A run of the utility.
struct Scenario {
    const char* name;
    std::vector<std::string> arguments;
    const char* answers = "";
    int status = 0;
};

const std::vector<Scenario>& runs()
{
    static const std::vector<Scenario> all{
        {"RbtCompressed", {"-u", "-v", "-fnew.rbt", "-dmwc4a", "-b0", "-s1"}},
        {"RbtPlain", {"-u", "-v", "-n", "-fnew.rbt", "-dmwc4a", "-b0", "-s1"}},
        {"RbtOlderModule", {"-u", "-v", "-fold.rbt", "-dmwc4a", "-b0", "-s2"}},
        {"BitCompressed", {"-u", "-v", "-fnew.bit", "-dmwc4a", "-b0", "-s1"}},
        {"BitPlain", {"-u", "-v", "-n", "-fnew.bit", "-dmwc4a", "-b0", "-s1"}},
        {"McbCompressed", {"-u", "-v", "-fnew.mcb", "-dmwc4a", "-b0", "-s1"}},
        {"McbPlain", {"-u", "-v", "-fold.mcb", "-dmwc4a", "-b0", "-s2"}},
        {"SearchWithQuestions", {"-v", "-fold.rbt", "-dmwc4a", "-b0"}, "n\ny\n\n\n"},
        {"SearchRefused", {"-v", "-fold.rbt", "-dmwc4a", "-b0"}, "n\nn\n", 6},
        {"DescriptionFile", {"rack.con"}},
        {"AnotherDevice", {"-u", "-fold.rbt", "-dmwc4a", "-b0", "-s1"}, "", 5},
        {"DamagedBitstream", {"-u", "-fbad.rbt", "-dmwc4a", "-b0", "-s1"}, "", 8},
        {"EmptySlot", {"-u", "-fnew.rbt", "-dmwc4a", "-b0", "-s4"}, "", 6},
        {"NoSuchBoard", {"-u", "-fnew.rbt", "-dmwc4a", "-b7", "-s1"}, "", 6},
    };
    return all;
}

class RecordedRuns : public FolderTest
{
protected:
    RecordedRuns()
    {
        write("rack.toml", RACK);
        write("rack.con", "new.rbt  mwc4a 0 1\nold.mcb  mwc4a 0 2\n");
        bitgen({"2v40cs144-4", "-o", "new.rbt", "--fill", "random"});
        bitgen({"2v40cs144-4", "-o", "new.bit", "--fill", "random"});
        bitgen({"v50pq240-5", "-o", "old.rbt"});
        bitgen({"v50pq240-5", "-o", "old.bit"});
        bitgen({"2v40cs144-4", "-o", "bad.rbt", "--defect", "crc"});
        EXPECT_EQ(utility({"-c", "-fnew.bit"}, {}).status, 0);
        EXPECT_EQ(utility({"-c", "-fold.bit"}, {}).status, 0);
    }

    void bitgen(std::vector<std::string> arguments) const
    {
        EXPECT_EQ(run({KVN_BITGEN_PROGRAM, std::move(arguments), folder, {}}).status, 0);
    }

    [[nodiscard]] Outcome utility(const std::vector<std::string>& arguments,
                                  std::map<std::string, std::string> variables,
                                  std::string_view answers = "") const
    {
        variables.emplace("MWVIRTUAL_RACK", path("rack.toml"));
        return run({KVN_FPGA_PROGRAM, arguments, folder, variables}, answers);
    }

    [[nodiscard]] Outcome record(const std::vector<std::string>& arguments,
                                 std::string_view answers = "") const
    {
        return utility(arguments, {{"KVN_MWAPI", "virtual"}, {"MWVIRTUAL_TRACE", path("trace")}}, answers);
    }

    [[nodiscard]] Outcome replay(const std::vector<std::string>& arguments,
                                 std::string_view answers = "") const
    {
        return utility(arguments, {{"KVN_MWAPI", "replay:" + path("trace")}}, answers);
    }

    /// A trace's calls without what differs from time to time.
    [[nodiscard]] std::vector<std::string> calls(const std::string& file) const
    {
        std::vector<std::string> all;
        std::istringstream lines{content(file)};
        std::string line;
        std::getline(lines, line);
        while (std::getline(lines, line)) {
            nlohmann::json call = nlohmann::json::parse(line);
            call.erase("t");
            call.erase("took");
            all.push_back(call.dump());
        }
        return all;
    }

    static std::string without_first_line(const std::string& text)
    {
        return text.substr(text.find('\n') + 1);
    }
};

const std::string REPLAYING = "KVN_FPGA: KVN_MWAPI is replay: a recording answers, no hardware is reached.\n";
const std::string SIMULATING =
    "KVN_FPGA: KVN_MWAPI is virtual: the boards are simulated, no hardware is reached.\n";

std::string announcing(const std::string& library, const std::string& what)
{
    return "KVN_FPGA: KVN_MWAPI is " + library + ": " + what + ", no hardware is reached.\n";
}

TEST_F(RecordedRuns, GiveTheSameConsoleResultAndCallsWhenReplayed)
{
    for (const Scenario& each : runs()) {
        SCOPED_TRACE(each.name);
        const Outcome recorded = record(each.arguments, each.answers);
        EXPECT_EQ(recorded.status, each.status) << recorded.errors;
        const std::vector<std::string> recorded_calls = calls("trace");
        EXPECT_FALSE(recorded_calls.empty());

        const Outcome replayed = replay(each.arguments, each.answers);
        EXPECT_EQ(replayed.status, recorded.status);
        EXPECT_EQ(replayed.output, recorded.output);
        EXPECT_EQ(replayed.errors, REPLAYING + without_first_line(recorded.errors));

        // The replay recorded in its turn: the same calls, with the same answers.
        const Outcome again = utility(each.arguments,
                                      {{"KVN_MWAPI", MWTRACE_LIBRARY},
                                       {"MWTRACE_PROVIDER", MWREPLAY_LIBRARY},
                                       {"MWTRACE_FILE", path("again")},
                                       {"MWREPLAY_FILE", path("trace")}},
                                      each.answers);
        EXPECT_EQ(again.output, recorded.output);
        EXPECT_EQ(calls("again"), recorded_calls);
    }
}

TEST_F(RecordedRuns, AreTheSameByTheForwardingProvider)
{
    for (const Scenario& each : runs()) {
        SCOPED_TRACE(each.name);
        const Outcome own = record(each.arguments, each.answers);
        const Outcome forwarded = utility(each.arguments,
                                          {{"KVN_MWAPI", MWTRACE_LIBRARY},
                                           {"MWTRACE_PROVIDER", "virtual"},
                                           {"MWTRACE_FILE", path("forwarded")}},
                                          each.answers);
        EXPECT_EQ(forwarded.status, own.status);
        EXPECT_EQ(forwarded.output, own.output);
        EXPECT_EQ(forwarded.errors,
                  announcing(MWTRACE_LIBRARY, "the boards are simulated") + without_first_line(own.errors));
        EXPECT_EQ(calls("forwarded"), calls("trace"));
    }
}

TEST_F(RecordedRuns, ComeFromLibrariesThatExportTheFunctionsAnnouncementAndVersionAlone)
{
    for (const char* library : {MWTRACE_LIBRARY, MWREPLAY_LIBRARY}) {
        std::istringstream symbols{run({"nm", {"-D", "--defined-only", library}}).output};
        unsigned functions = 0;
        bool announces = false;
        bool tells_version = false;
        for (std::string text; std::getline(symbols, text); ++functions) {
            EXPECT_NE(text.find(" T Mw"), std::string::npos) << text;
            announces = announces || text.ends_with(" T MwProviderAnnouncement");
            tells_version = tells_version || text.ends_with(" T MwProviderVersion");
        }
        EXPECT_EQ(functions, 18U) << library;
        EXPECT_TRUE(announces) << library;
        EXPECT_TRUE(tells_version) << library;
    }
}

TEST_F(RecordedRuns, HoldTheExchangeInFull)
{
    const Outcome outcome = record(PLAIN_LOAD);
    ASSERT_EQ(outcome.status, 0);
    const mwtrace::Recording recording{path("trace")};
    std::vector<std::string> functions;
    mwtrace::Bytes sent;
    std::uint64_t pieces = 0;
    for (std::size_t i = 0; i < recording.size(); ++i) {
        const mwtrace::Record record = recording.record(i);
        functions.push_back(record.function);
        EXPECT_EQ(record.result, 0U);
        sent.insert(sent.end(), record.data.begin(), record.data.end());
        for (const auto& run : record.sizes)
            pieces += run.count;
    }
    EXPECT_THAT(functions, testing::ElementsAre(
                               "MwOpenS", "MwInitIoStatus", "MwInitIoStatus", "MwGetBoardInfo",
                               "MwKSBSendMessageEx", "MwKSBReceiveMessageEx", "MwKSBSendMessageEx",
                               "MwKSBReceiveMessageEx", "MwKSBStartSendMessageEx", "MwKSBSendMessageDataEx",
                               "MwKSBEndOfSendMessageEx", "MwKSBStartReceiveMessageEx",
                               "MwKSBReceiveMessageDataEx", "MwKSBEndOfReceiveMessageEx", "MwClose"));
    constexpr std::size_t data_size = 338'976 / 8;
    ASSERT_EQ(sent.size(), 2 + data_size);
    EXPECT_EQ(sent[0], 3);
    EXPECT_EQ(sent[1], 5);
    EXPECT_EQ(pieces, 1 + (data_size + 7) / 8) << "the header, then pieces of 8";
    const std::string file = content("new.bit");
    const std::string data = file.substr(file.size() - data_size);
    for (std::size_t i = 0; i < data_size; ++i) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            reversed |= (static_cast<unsigned char>(data[i]) >> bit & 1U) << (7 - bit);
        ASSERT_EQ(sent[2 + i], reversed) << i;
    }
}

TEST_F(RecordedRuns, FailAtTheFirstCallThatDeparts)
{
    ASSERT_EQ(record(PLAIN_LOAD).status, 0);

    const Outcome other_mode = replay({"-u", "-fnew.bit", "-dmwc4a", "-b0", "-s1"});
    EXPECT_EQ(other_mode.status, 7);
    EXPECT_EQ(
        other_mode.errors,
        REPLAYING +
            "Error 9351. Cannot send KSB message data, slot 0x1 (via 'mwc4a 0') (call 10 departs from the recording: expected line 11, MwKSBSendMessageDataEx(data 03 05, handle 1, length 2, timeout 5000); made MwKSBSendMessageDataEx(data 0D 05, handle 1, length 2, timeout 5000)).\n");

    const Outcome other_board = replay({"-u", "-n", "-fnew.bit", "-dmwc4a", "-b1", "-s1"});
    EXPECT_EQ(other_board.status, 6);
    EXPECT_EQ(
        other_board.errors,
        REPLAYING +
            "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (call 1 departs from the recording: expected line 2, MwOpenS(board 0, board_type \"mwc4a\", device \"ksb\"); made MwOpenS(board 1, board_type \"mwc4a\", device \"ksb\")).\n");

    const Outcome other_slot = replay({"-u", "-n", "-fnew.bit", "-dmwc4a", "-b0", "-s2"});
    EXPECT_THAT(
        other_slot.errors,
        testing::HasSubstr("Error 9060. Cannot send KSB message to slot 0x2 (via \"mwc4a 0\") (call 5 "
                           "departs from the recording: expected line 6, MwKSBSendMessageEx("));

    std::string file = content("new.bit");
    file[file.size() - 1000] = static_cast<char>(file[file.size() - 1000] ^ 1);
    write("new.bit", file);
    const Outcome other_data = replay(PLAIN_LOAD);
    EXPECT_THAT(other_data.errors, testing::HasSubstr("Error 9390. "));
    EXPECT_THAT(other_data.errors, testing::HasSubstr("departs from the recording: expected line 11, "));
}

TEST_F(RecordedRuns, ARunThatEndsEarlyIsTold)
{
    ASSERT_EQ(record({"rack.con"}).status, 0);
    const Outcome outcome = replay(LOAD);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors,
                testing::HasSubstr("mwreplay: the run ended before the recording, of which "));
    EXPECT_THAT(outcome.errors,
                testing::HasSubstr("the next was MwOpenS(board 0, board_type \"mwc4a\", device \"ksb\")\n"));
}

TEST_F(RecordedRuns, TracesThatCannotBeUsedAreTold)
{
    write("trace", "no trace\n");
    EXPECT_EQ(replay(LOAD).errors,
              REPLAYING + NOT_OPENED + path("trace") + ":1: this is no trace of platform calls).\n");
    std::filesystem::remove(path("trace"));
    EXPECT_EQ(replay(LOAD).errors,
              REPLAYING + NOT_OPENED + path("trace") + ": No such file or directory).\n");
    EXPECT_EQ(utility(LOAD, {{"KVN_MWAPI", MWREPLAY_LIBRARY}}).errors,
              announcing(MWREPLAY_LIBRARY, "a recording answers") + NOT_OPENED +
                  "MWREPLAY_FILE (not set): No such file "
                  "or directory).\n");
}

TEST_F(RecordedRuns, ARecordingThatWasCutReplaysAsFarAsItGoes)
{
    ASSERT_EQ(record(PLAIN_LOAD).status, 0);
    const std::string whole = content("trace");
    write("trace", whole.substr(0, whole.find("MwKSBEndOfSendMessageEx")));
    const Outcome outcome = replay(PLAIN_LOAD);
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.errors, testing::HasSubstr("expected nothing more (the recording is cut off); made "
                                                   "MwKSBEndOfSendMessageEx(handle 1, timeout 5000)"));
}

TEST_F(RecordedRuns, TheDiskMayBeFull)
{
    // A limit on the size of files stands for the end of the disk; the output must not meet it too.
    const Outcome outcome =
        run({"sh",
             {"-c", "trap '' XFSZ; ulimit -f 1; exec \"$0\" -u -fnew.rbt -dmwc4a -b0 -s1 >/dev/null",
              KVN_FPGA_PROGRAM},
             folder,
             {{"KVN_MWAPI", "virtual"},
              {"MWVIRTUAL_TRACE", path("trace")},
              {"MWVIRTUAL_RACK", path("rack.toml")}}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, SIMULATING + "mwtrace: cannot write " + path("trace") +
                                  ": File too large; the run goes on unrecorded\n");
}

TEST_F(RecordedRuns, ATraceThatIsNoRegularFileIsToldAndNotWaitedFor)
{
    make_fifo(path("trace"));
    const Outcome recorded = utility(
        LOAD,
        {{"KVN_MWAPI", MWTRACE_LIBRARY}, {"MWTRACE_PROVIDER", "virtual"}, {"MWTRACE_FILE", path("trace")}});
    EXPECT_EQ(recorded.status, 0);
    EXPECT_THAT(recorded.errors, testing::HasSubstr("mwtrace: cannot write " + path("trace") +
                                                    ": it is no regular file; the run goes on unrecorded\n"));
    EXPECT_THAT(replay(LOAD).errors,
                testing::HasSubstr(NOT_OPENED + path("trace") + ": it is no regular file).\n"));
}

TEST_F(RecordedRuns, TheForwardingProviderNeedsAProvider)
{
    EXPECT_EQ(utility(LOAD, {{"KVN_MWAPI", MWTRACE_LIBRARY}}).errors,
              NOT_OPENED +
                  "set MWTRACE_PROVIDER to the library "
                  "with the Mw... functions, or to virtual: " +
                  kvn::system::library_file("mwapi") +
                  ": cannot open shared object file: No such file or directory).\n");
    EXPECT_EQ(utility(LOAD, {{"KVN_MWAPI", MWTRACE_LIBRARY}, {"MWTRACE_PROVIDER", SYSTEM_LIBRARY}}).errors,
              NOT_OPENED + "set MWTRACE_PROVIDER to the library "
                           "with the Mw... functions, or to virtual: " SYSTEM_LIBRARY
                           " has no function MwOpenS).\n");
    EXPECT_EQ(utility(LOAD, {{"KVN_MWAPI", MWTRACE_LIBRARY}, {"MWTRACE_PROVIDER", MWTRACE_LIBRARY}}).errors,
              NOT_OPENED + "MWTRACE_PROVIDER names the recorder "
                           "itself).\n");
}

TEST_F(RecordedRuns, WithoutAFileTheCallsAreForwardedUnrecorded)
{
    const Outcome outcome = utility(LOAD, {{"KVN_MWAPI", MWTRACE_LIBRARY}, {"MWTRACE_PROVIDER", "virtual"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "mwtrace: MWTRACE_FILE is not set; the run goes on unrecorded\n" +
                                  announcing(MWTRACE_LIBRARY, "the boards are simulated"));
}
} // namespace
