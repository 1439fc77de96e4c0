// SPDX-License-Identifier: Apache-2.0
// kvn load: outcomes, refusals, progress and the record.
#include "kvn_fixture.h"
#include "system/command_words.h"

#include <gmock/gmock.h>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class KvnLoad : public KvnOnBoards
{
protected:
    void SetUp() override
    {
        use_rack();
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        make("2v40cs144-4", "design.bit");
    }
};

TEST_F(KvnLoad, LoadsAndReports)
{
    const Outcome loaded = kvn({"load", "design.bit", "mwc4a:0/1"});
    EXPECT_EQ(loaded.status, 0);
    EXPECT_THAT(
        without_seconds(loaded.output),
        testing::MatchesRegex("Module:         mwc4a:0/1, KAVRIN-FPGA model 4 version 2, 2v40cs144-4\n"
                              "File:           design.bit, BIT, for 2v40cs144\n"
                              "Design:         example.ncd\n"
                              "Digest:         \\w+\n"
                              "Load:           compressed, 2226 bytes in SECONDS\n"
                              "Result:         configured: its FPGA runs\n"));
    EXPECT_EQ(loaded.errors, std::string{ANNOUNCED} + "mwc4a:0/1: loading design.bit, 2226 bytes\n"
                                                      "mwc4a:0/1: configured\n");
}

TEST_F(KvnLoad, ShowsNoProgressWhenNoneIsWanted)
{
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1", "--progress", "none"}).errors, ANNOUNCED);
    EXPECT_THAT(kvn({"load", "design.bit", "mwc4a:0/1", "--progress", "bar"}).errors,
                EndsWith("\rmwc4a:0/1  100 %, 2226 of 2226 bytes, 0 s left\n"));
}

TEST_F(KvnLoad, LoadsInTheModeThatIsWanted)
{
    const auto bytes = [&](const char* mode) {
        return json({"load", "design.bit", "mwc4a:0/1", mode})["wire_bytes"];
    };
    EXPECT_EQ(bytes("--plain"), 42374);
    EXPECT_EQ(bytes("--compressed"), 2226);
    EXPECT_EQ(bytes("--smallest"), 2226);
    const Outcome both = kvn({"load", "design.bit", "mwc4a:0/1", "--plain", "--smallest"});
    EXPECT_EQ(both.status, 2);
    EXPECT_EQ(both.errors, "kvn: --plain excludes --smallest; kvn load --help tells more\n");
}

TEST_F(KvnLoad, ReadsPackedFilesAndStandardInput)
{
    ASSERT_EQ(run({"gzip", {"-k", "design.bit"}, folder, {}}).status, 0);
    EXPECT_EQ(kvn({"load", "design.bit.gz", "mwc4a:0/1"}).status, 0);
    const Outcome piped = kvn({"load", "-", "mwc4a:0/1"}, content("design.bit"));
    EXPECT_EQ(piped.status, 0);
    EXPECT_THAT(piped.output, HasSubstr("\nFile:           -, BIT, for 2v40cs144\n"));
}

TEST_F(KvnLoad, AnotherDeviceIsRefusedWithBothNames)
{
    make("v50pq240-5", "old.rbt");
    for (const bool force : {false, true}) {
        std::vector<std::string> arguments{"load", "old.rbt", "mwc4a:0/1"};
        if (force)
            arguments.emplace_back("--force");
        const Outcome refused = kvn(arguments);
        EXPECT_EQ(refused.status, 5);
        EXPECT_EQ(refused.errors,
                  std::string{ANNOUNCED} +
                      "kvn: mwc4a:0/1: old.rbt: old.rbt is for a v50pq240 (by its header); the module in "
                      "mwc4a:0/1 has a 2v40cs144-4 (by its own word)\n"
                      "try: use the bitstream that was made for the module's device\n");
        EXPECT_THAT(refused.output,
                    EndsWith("\nResult:         not tried; the module is untouched: nothing of "
                             "the load has reached it\n"));
    }
}

TEST_F(KvnLoad, AModuleWithAnotherDeviceThanGivenIsRefused)
{
    const Outcome refused = kvn({"load", "design.bit", "mwc4a:0/1", "--device", "2v80cs144-4"});
    EXPECT_EQ(refused.status, 5);
    EXPECT_THAT(refused.errors,
                HasSubstr("has a 2v40cs144-4 (by its own word), not a 2v80cs144-4 (as was given)\n"));
}

TEST_F(KvnLoad, ADamagedFileIsRefusedBeforeAnythingIsSent)
{
    make("2v40cs144-4", "bad.bit", "crc");
    const Outcome refused = kvn({"load", "bad.bit", "mwc4a:0/1", "--force"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_THAT(refused.errors, StartsWith(std::string{ANNOUNCED} + "kvn: mwc4a:0/1: bad.bit: "));
    EXPECT_THAT(refused.errors, Not(HasSubstr("bad.bit: bad.bit:")));
    EXPECT_THAT(refused.output, HasSubstr("Result:         not tried; "));
}

TEST_F(KvnLoad, FilesBoardsAndModulesThatAreNotThere)
{
    const Outcome no_file = kvn({"load", "none.bit", "mwc4a:0/1"});
    EXPECT_EQ(no_file.status, 3);
    EXPECT_THAT(no_file.errors, StartsWith("kvn: none.bit: No such file or directory\n"));
    const Outcome no_board = kvn({"load", "design.bit", "mwc4a:3/1"});
    EXPECT_EQ(no_board.status, 6);
    EXPECT_THAT(no_board.errors, HasSubstr("\nkvn: mwc4a:3/1: design.bit: Error 9201. "));
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/2"}).status, 6);
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0"}).status, 2);
}

TEST_F(KvnLoad, TheBusThatFailsLeavesTheModuleInterrupted)
{
    write("rack.toml", content("rack.toml") + "\n[[fault]]\nfunction = \"MwKSBSendMessageDataEx\"\ncall = 9\n"
                                              "code = 77\ntext = \"cable pulled\"\n");
    const Outcome failed = kvn({"load", "design.bit", "mwc4a:0/1", "--progress", "none"});
    EXPECT_EQ(failed.status, 7);
    EXPECT_THAT(failed.errors, HasSubstr("(cable pulled)."));
    EXPECT_THAT(failed.errors, HasSubstr("\nwhy: "));
    EXPECT_THAT(failed.errors, HasSubstr("\ntry: "));
    EXPECT_THAT(
        failed.output,
        EndsWith("\nResult:         failed; the module is interrupted: it has part of the data and does "
                 "not run\n"));
}

TEST_F(KvnLoad, AModuleThatRefusesIsReported)
{
    use_rack("", "\n[[board.slot.fault]]\nkind = \"wrong-status\"\nstatus = 77\n");
    const Outcome refused = kvn({"load", "design.bit", "mwc4a:0/1"});
    EXPECT_EQ(refused.status, 8);
    EXPECT_THAT(refused.output,
                EndsWith("\nResult:         refused; the module is refused: it has all data and "
                         "does not run\n"));
}

TEST_F(KvnLoad, WhatCannotBeJudgedIsLoadedByTheCommandOfTheHint)
{
    variables["KVN_MWAPI"] = KVN_COUNTING_PROVIDER;
    variables["KVN_COUNTING_DEVICE"] = "2v41cs144-4"; // no device that is known
    std::string file = content("design.bit");
    file.replace(file.find("2v40cs144"), 9, "2v41cs144");
    write("design.bit", file);
    const Outcome refused = kvn({"load", "design.bit", "mwc4a:0/1", "--smallest"});
    EXPECT_EQ(refused.status, 10);
    EXPECT_THAT(refused.errors, HasSubstr("\ntry: kvn load design.bit mwc4a:0/1 --smallest --force\n"));
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1", "--smallest", "--force"}).status, 0);
}

TEST_F(KvnLoad, AModuleThatTakesNoCompressedLoadsIsLoadedByTheCommandOfTheHint)
{
    write("rack.toml",
          "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n[[board.slot]]\nnumber = 1\nkind = \"fpga\"\n"
          "model = 3\nversion = 1\ndevice = \"v50pq240-5\"\n");
    make("v50pq240-5", "old.bit");
    const Outcome refused = kvn({"load", "old.bit", "mwc4a:0/1", "--compressed"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.errors, HasSubstr("takes no compressed loads\ntry: kvn load old.bit mwc4a:0/1\n"));
    EXPECT_EQ(kvn({"load", "old.bit", "mwc4a:0/1"}).status, 0);
}

TEST_F(KvnLoad, WithoutAModuleTheOnlyOneOfTheEnvironmentsBoardIsLoaded)
{
    variables["MWAPIKSB"] = "mwc4a 0";
    const Outcome loaded = kvn({"load", "design.bit"});
    EXPECT_EQ(loaded.status, 0);
    EXPECT_THAT(loaded.output, StartsWith("Module:         mwc4a:0/1, "));
}

TEST_F(KvnLoad, WithoutAModuleAndABoardTheFormOfTheCommandIsShown)
{
    const Outcome refused = kvn({"load", "design.bit"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.errors,
                EndsWith("kvn: no module is named, and the environment names no board\n"
                         "why: a module has a board type, the number of its board and a slot\n"
                         "try: kvn load design.bit mwc4a:0/1\n"));
    EXPECT_EQ(kvn({"load", "design.bit", "mwc4a:0/1"}).status, 0) << "what the hint says";
}

TEST_F(KvnLoad, OfSeveralModulesNoneIsLoadedAndEachHasItsCommand)
{
    variables.erase("MWVIRTUAL_RACK");
    variables["MWAPIKSB"] = "mwc4a 0";
    make("v300pq240-5", "my design.bit");
    const Outcome refused = kvn({"load", "my design.bit", "--plain"});
    EXPECT_EQ(refused.status, 2);
    const std::string file = kvn::system::command_word("my design.bit");
    EXPECT_EQ(refused.errors, std::string{ANNOUNCED} +
                                  "kvn: no module is named, and there are 2\n"
                                  "try: kvn load " +
                                  file +
                                  " mwc4a:0/1 --plain  # KAVRIN-FPGA model 4 version 2, "
                                  "2v3000fg676-4\n"
                                  "try: kvn load " +
                                  file +
                                  " mwc4a:0/2 --plain  # KAVRIN-FPGA model 3 version 1, "
                                  "v300pq240-5\n");
    EXPECT_EQ(kvn({"load", "my design.bit", "mwc4a:0/2", "--plain"}).status, 0) << "what the hint says";
    EXPECT_EQ(json({"load", "my design.bit"})["error"]["kind"], "usage");
}

TEST_F(KvnLoad, ABoardWithoutModulesIsAnError)
{
    variables["MWAPIKSB"] = "mwc4a 0";
    write("rack.toml", "[[board]]\ntype = \"mwc4a\"\nnumber = 0\n");
    const Outcome refused = kvn({"load", "design.bit"});
    EXPECT_EQ(refused.status, 6);
    EXPECT_THAT(refused.errors, EndsWith("kvn: there is no module to load on mwc4a:0, which the environment "
                                         "names\ntry: kvn list mwc4a:0 --all\n"));
    EXPECT_EQ(kvn({"list", "mwc4a:0", "--all"}).status, 0) << "what the hint says";
    variables["MWAPIKSB"] = "mwc4a 5";
    EXPECT_EQ(kvn({"load", "design.bit"}).status, 6);
    variables["MWAPIKSB"] = "other";
    EXPECT_EQ(kvn({"load", "design.bit"}).status, 6);
}

TEST_F(KvnLoad, TheRecordSaysWhatIsKnownAndHow)
{
    const nlohmann::json record = json({"load", "design.bit", "mwc4a:0/1", "--serial", "SN 1", "--operator",
                                        "me", "--station", "3", "--progress", "none"});
    EXPECT_EQ(record["kvn"], "record");
    EXPECT_EQ(record["error"], nullptr);
    EXPECT_EQ(record["module"], "mwc4a:0/1");
    EXPECT_EQ(record["verdict"], "configured");
    EXPECT_EQ(record["state"], "configured");
    EXPECT_EQ(record["answer"], 5);
    EXPECT_EQ(record["serial_number"], "SN 1");
    EXPECT_EQ(record["operator_name"], "me");
    EXPECT_EQ(record["station"], "3");
    EXPECT_EQ(record["sources"]["device"], "observed");
    EXPECT_EQ(record["sources"]["serial_number"], "given");
    EXPECT_EQ(record["provider"]["simulated"], true);
}

TEST_F(KvnLoad, AFailedLoadIsARecordTooAndPeopleAreToldTheState)
{
    make("v50pq240-5", "old.rbt");
    const Outcome refused = kvn({"load", "old.rbt", "mwc4a:0/1", "--json"});
    EXPECT_EQ(refused.status, 5);
    const nlohmann::json record = nlohmann::json::parse(refused.output);
    EXPECT_EQ(record["verdict"], "not tried");
    EXPECT_EQ(record["error"]["kind"], "wrong device");
    EXPECT_EQ(record["failure"]["what"], record["error"]["what"]);
    EXPECT_THAT(refused.errors,
                EndsWith("kvn: mwc4a:0/1: the module is untouched: nothing of the load has reached it\n"));
}

TEST_F(KvnLoad, AReaderThatGoesAwayDoesNotCutOffTheLoad)
{
    const Outcome loaded = run(command({"load", "design.bit", "mwc4a:0/1"}), "", Output::without_reader);
    EXPECT_EQ(loaded.status, 0);
    EXPECT_THAT(loaded.errors, EndsWith("mwc4a:0/1: configured\n"));
}

TEST_F(KvnLoad, AFullDiskIsReportedAndTheLoadIsDone)
{
    const Outcome loaded = run(command({"load", "design.bit", "mwc4a:0/1"}), "", Output::full);
    EXPECT_EQ(loaded.status, 3);
    EXPECT_THAT(loaded.errors, EndsWith("mwc4a:0/1: configured\nkvn: cannot write to standard output: "
                                        "No space left on device\n"));
}
} // namespace
