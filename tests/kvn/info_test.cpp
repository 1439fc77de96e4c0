// SPDX-License-Identifier: Apache-2.0
#include "kvn_fixture.h"

#include <gmock/gmock.h>

namespace
{
using KvnInfo = KvnTest;

const std::string NEW_REPORT = R"(Stated:         338976 bits
Found:          338976 bits
Standard size:  338976 bits for this device
Sync word:      at bit 32
Device ID:      01008093
Registers:      CRC 1, FAR 1, FDRI 1 (10530 words), CMD 7, CTL 1, MASK 1, COR 1, FLR 1, IDCODE 1
Commands:       RCRC, SWITCH, WCFG, GRESTORE, LFRM, START, DESYNCH
Frames:         404 of 404
CRC:            right, 2 checks passed
Configuration:  DONE went high after 338784 bits
)";

TEST_F(KvnInfo, TellsWhatABitFileIs)
{
    make("2v40cs144-4", "a.bit");
    const Outcome outcome = kvn({"info", "a.bit"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const auto coded = json({"info", "a.bit"})["run_coded"];
    char ratio[32];
    (void)std::snprintf(ratio, sizeof ratio, "%.3f", coded["ratio"].get<double>());
    EXPECT_EQ(outcome.output,
              "File:           a.bit, " + std::to_string(std::filesystem::file_size(folder / "a.bit")) +
                  " bytes\n"
                  "Format:         BIT\n"
                  "Design:         example.ncd\n"
                  "Date:           2006/02/17\n"
                  "Time:           12:00:00\n"
                  "Part:           2v40cs144\n"
                  "Device:         2v40 (Virtex-2)\n" +
                  NEW_REPORT + "Run-coded:      " + coded["bytes"].dump() + " bytes, " + ratio +
                  " of the plain size\n"
                  "Problems:       none\n");
}

TEST_F(KvnInfo, FindsTheSameInEveryFormat)
{
    make("2v40cs144-4", "a.bit");
    make("2v40cs144-4", "a.rbt");
    make("2v40cs144-4", "a.mcb");
    for (const char* file : {"a.bit", "a.rbt", "a.mcb"})
        EXPECT_THAT(kvn({"info", file}).output, testing::HasSubstr(NEW_REPORT)) << file;
    EXPECT_EQ(json({"info", "a.rbt"})["run_coded"], json({"info", "a.bit"})["run_coded"]);
    EXPECT_EQ(json({"info", "a.mcb"})["run_coded"], json({"info", "a.bit"})["run_coded"]);
    const std::size_t mcb_size = std::filesystem::file_size(folder / "a.mcb");
    EXPECT_EQ(json({"info", "a.mcb"})["run_coded"]["bytes"], mcb_size - 522);
}

TEST_F(KvnInfo, ShowsTheHeaderOfAnRbtFile)
{
    make("v50pq240-5", "a.rbt");
    EXPECT_THAT(kvn({"info", "a.rbt"}).output, testing::HasSubstr("Format:         RBT\n"
                                                                  "Tool:           kvn_bitgen\n"
                                                                  "Design:         example.ncd\n"
                                                                  "Architecture:   virtex\n"
                                                                  "Date:           Fri Feb 17 12:00:00 2006\n"
                                                                  "Part:           v50pq240\n"
                                                                  "Device:         v50 (Virtex)\n"));
}

TEST_F(KvnInfo, ShowsTheHeaderOfAnMcbFile)
{
    make("v50pq240-5", "a.mcb");
    EXPECT_THAT(kvn({"info", "a.mcb"}).output, testing::HasSubstr("Format:         MCB\n"
                                                                  "Date:           2006/02/17 12:00:00\n"
                                                                  "Part:           v50pq240\n"));
}

TEST_F(KvnInfo, TellsTheFramesOfASerialFamily)
{
    make("s10pc84-4", "a.bit");
    const std::string output = kvn({"info", "a.bit"}).output;
    EXPECT_THAT(output, testing::HasSubstr("Device:         s10 (Spartan)\n"));
    EXPECT_THAT(output, testing::HasSubstr("Length count:   95001\n"
                                           "Frames:         572 of 572\n"
                                           "CRC:            right, 572 checks passed\n"));
    EXPECT_THAT(output, testing::Not(testing::HasSubstr("Sync word")));
    EXPECT_THAT(output,
                testing::HasSubstr("Problem:        the library holds back the last 16 bytes of a plain "
                                   "load and the last 4 of an MCB file, which this family needs\n"));
}

TEST_F(KvnInfo, TakesTheBytesBehindTheLastWholeWord)
{
    for (const auto& [device, bits] : {std::pair{"s10xl", 95752}, {"s05xl", 54544}, {"s20xl", 179160}}) {
        make(device, "a.bit");
        const nlohmann::json info = json({"info", "a.bit"});
        EXPECT_EQ(info["found_bits"], bits) << device;
        EXPECT_EQ(info["configuration"]["starts"], true) << device;
        // The last byte is the only one that a run of this value ends in.
        std::string file = content("a.bit");
        file.back() = '\x0F';
        write("a.bit", file);
        EXPECT_EQ(json({"info", "a.bit"})["run_coded"]["bytes"].get<int>() - 2,
                  info["run_coded"]["bytes"].get<int>())
            << device;
    }
}

TEST_F(KvnInfo, ComputesTheBusTime)
{
    make("2v40cs144-4", "new.bit");
    make("v50pq240-5", "old.bit");
    make("v50pq240-5", "old.mcb");
    // The load header is 2 bytes; older devices are not sent the last 16, or 4 of an MCB file.
    EXPECT_THAT(kvn({"info", "new.bit", "--bytes-per-second", "1000"}).output,
                testing::HasSubstr("Bus time:       42.374 s plain, "));
    EXPECT_THAT(kvn({"info", "old.bit", "--bytes-per-second", "1000"}).output,
                testing::HasSubstr("Bus time:       69.886 s plain, "));
    EXPECT_THAT(kvn({"info", "old.mcb", "--bytes-per-second", "1000"}).output,
                testing::HasSubstr("Bus time:       69.898 s plain, "));
    EXPECT_EQ(json({"info", "new.bit"})["bus_time"], nullptr) << "no speed, no time";
}

TEST_F(KvnInfo, PrintsJsonThatSaysTheSame)
{
    make("2v40cs144-4", "a.bit");
    const nlohmann::json info = json({"info", "a.bit", "--bytes-per-second", "500"});
    EXPECT_EQ(info["file"], "a.bit");
    EXPECT_EQ(info["size"], std::filesystem::file_size(folder / "a.bit"));
    EXPECT_EQ(info["format"], "BIT");
    EXPECT_EQ(info["named"], "BIT");
    EXPECT_EQ(info["header"], (nlohmann::json{{"tool", nullptr},
                                              {"design", "example.ncd"},
                                              {"architecture", nullptr},
                                              {"date", "2006/02/17"},
                                              {"time", "12:00:00"},
                                              {"other", nlohmann::json::array()}}));
    EXPECT_EQ(info["kvn"], "inspection");
    EXPECT_EQ(info["version"], "1.0");
    EXPECT_EQ(info["error"], nullptr);
    EXPECT_EQ(info["packets_unread"], nullptr);
    EXPECT_EQ(info["devices_by_data"], nlohmann::json::array());
    EXPECT_EQ(info["part"], "2v40cs144");
    EXPECT_EQ(info["device"],
              (nlohmann::json{
                  {"name", "2v40"}, {"family", "Virtex-2"}, {"frames", 404}, {"standard_bits", 338976}}));
    EXPECT_EQ(info["other_family"], nullptr);
    EXPECT_EQ(info["stated_bits"], 338976);
    EXPECT_EQ(info["found_bits"], 338976);
    EXPECT_EQ(info["packets"]["sync_bit"], 32);
    EXPECT_EQ(info["packets"]["idcode"], "01008093");
    EXPECT_EQ(info["packets"]["registers"][2],
              (nlohmann::json{{"name", "FDRI"}, {"packets", 1}, {"words", 10530}}));
    EXPECT_EQ(info["packets"]["commands"][0], (nlohmann::json{{"name", "RCRC"}, {"count", 1}}));
    EXPECT_EQ(info["configuration"]["starts"], true);
    EXPECT_EQ(info["configuration"]["frames"], (nlohmann::json{{"written", 404}, {"expected", 404}}));
    EXPECT_EQ(info["configuration"]["crc"], (nlohmann::json{{"verdict", "right"}, {"checks_passed", 2}}));
    EXPECT_DOUBLE_EQ(info["bus_time"]["plain_seconds"].get<double>(), 42374 / 500.0);
    EXPECT_EQ(info["problems"], nlohmann::json::array());
}

TEST_F(KvnInfo, CountsTheBytesOfALastWordThatIsNotWhole)
{
    make("2v40cs144-4", "a.bit");
    std::string file = content("a.bit");
    // One run at the end, of a byte that reads differently from behind.
    file.replace(file.size() - 8, 8, std::string(8, '\x01'));
    constexpr std::size_t DATA_SIZE = 42372;
    const std::size_t last_of_count = file.size() - DATA_SIZE - 1;
    const char whole = file[last_of_count];
    std::vector<nlohmann::json> run_coded;
    for (const int less : {4, 3, 2, 1, 0}) {
        file[last_of_count] = static_cast<char>(whole - less);
        write("a.bit", file);
        const nlohmann::json info = json({"info", "a.bit"});
        EXPECT_EQ(info["stated_bits"], 338976 - 8 * less);
        EXPECT_EQ(info["found_bits"], 338976 - 8 * less);
        run_coded.push_back(info["run_coded"]["bytes"]);
    }
    EXPECT_THAT(run_coded, testing::Each(run_coded[0]));
}

TEST_F(KvnInfo, ShowsControlCharactersAsEscapes)
{
    make("2v40cs144-4", "a.bit");
    std::string file = content("a.bit");
    file.replace(file.find("example"), 7, "\x1B[2J\x07\xFF\n");
    write("a.bit", file);
    EXPECT_THAT(kvn({"info", "a.bit"}).output,
                testing::HasSubstr("Design:         \\x1B[2J\\x07\xFF\\x0A.ncd\n"));
    EXPECT_EQ(json({"info", "a.bit"})["header"]["design"], "\x1B[2J\x07\xEF\xBF\xBD\n.ncd");
}

TEST_F(KvnInfo, WhatCannotBeReadIsAnError)
{
    EXPECT_EQ(kvn({"info", "nothing.bit"}).status, 3);
    EXPECT_EQ(kvn({"info", "nothing.bit"}).errors, "kvn: nothing.bit: No such file or directory\n");
    EXPECT_EQ(kvn({"info", "/"}).errors, "kvn: /: not a regular file\ntry: give a bitstream file\n");
}

TEST_F(KvnInfo, StandardInputIsReadUnderItsName)
{
    make("2v40cs144-4", "a.bit");
    const std::string text = content("a.bit");
    const std::string expected = kvn({"info", "a.bit"}).output;
    for (const std::string name : {"-", "/dev/stdin"}) {
        const Outcome outcome = run({KVN_PROGRAM, {"info", name}, folder, {}}, text);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, "File:           " + name + expected.substr(expected.find(',')));
        EXPECT_EQ(run({KVN_PROGRAM, {"check", name}, folder, {}}, text).status, 0);
    }
}

TEST_F(KvnInfo, EveryPathPrintsJsonWhenAskedTo)
{
    struct Failing {
        std::vector<std::string> arguments;
        int status;
        const char* kind;
        const char* what;
    };
    const Failing failings[] = {
        {{"info", "/dev/null"}, 3, "file", "/dev/null: not a regular file"},
        {{"check", "nothing.bit"}, 3, "file", "nothing.bit: No such file or directory"},
        {{"info", "/"}, 3, "file", "/: not a regular file"},
        {{"info"}, 2, "usage", "file is required; kvn info --help tells more"},
        {{"check", "a.bit", "--speed"}, 2, "usage", "there is no option --speed. kvn check --help lists all"},
        {{"check", "a.bit", "--devise=x"},
         2,
         "usage",
         "there is no option --devise; did you mean --device? kvn check --help lists all"},
        {{"inof", "a.bit"}, 2, "usage", "there is no command inof; did you mean info? kvn --help lists all"},
        {{}, 2, "usage", "no command is given; kvn --help lists all"},
    };
    for (const Failing& each : failings) {
        std::vector<std::string> arguments = each.arguments;
        arguments.emplace_back("--json");
        const Outcome outcome = kvn(arguments);
        EXPECT_EQ(outcome.status, each.status);
        const nlohmann::json document = nlohmann::json::parse(outcome.output);
        EXPECT_EQ(document["kvn"], "failure");
        EXPECT_EQ(document["version"], "1.0");
        EXPECT_EQ(document["error"]["kind"], each.kind);
        EXPECT_EQ(document["error"]["what"], each.what);
        EXPECT_EQ(document["error"]["status"], each.status);
        EXPECT_NE(outcome.errors, "") << "people are told too";
        EXPECT_EQ(kvn(each.arguments).output, "") << "nothing but errors without --json";
    }
    EXPECT_THAT(json({"info", "--help"})["help"].get<std::string>(),
                testing::HasSubstr("--bytes-per-second"));
}

TEST_F(KvnInfo, ANameWithControlCharactersIsShownEscapedInErrors)
{
    EXPECT_EQ(kvn({"info", "\x1B[2J"}).errors, "kvn: \\x1B[2J: No such file or directory\n");
}

TEST_F(KvnInfo, NamesAFieldAlikeInAllFormats)
{
    for (const char* file : {"a.bit", "a.rbt", "a.mcb"}) {
        make("2v40cs144-4", file);
        const nlohmann::json header = json({"info", file})["header"];
        const bool is_rbt = std::string_view{file} == "a.rbt";
        const bool is_mcb = std::string_view{file} == "a.mcb";
        EXPECT_EQ(header["tool"], is_rbt ? nlohmann::json("kvn_bitgen") : nlohmann::json{});
        EXPECT_EQ(header["design"], is_mcb ? nlohmann::json{} : nlohmann::json("example.ncd"));
        EXPECT_TRUE(header["date"].is_string());
        EXPECT_EQ(header.size(), 6U);
    }
    ASSERT_EQ(run({KVN_FPGA_PROGRAM, {"-c", "-fa.rbt"}, folder, {}}).status, 0);
    EXPECT_EQ(json({"info", "a.mcb"})["header"]["date"], "Fri Feb 17 12:00:00 2006");
    make("2v40cs144-4", "b.mcb");
    ASSERT_EQ(run({KVN_FPGA_PROGRAM, {"-r", "-fb.mcb"}, folder, {}}).status, 0);
    const nlohmann::json again = json({"info", "b.rbt"});
    EXPECT_EQ(again["header"]["tool"], "Generated by MARROWAY.");
    EXPECT_EQ(again["header"]["date"], "2006/02/17 12:00:00") << "it stands in front of the bits";
    EXPECT_EQ(again["header"]["other"], nlohmann::json::array());
    EXPECT_EQ(again["part"], "2v40cs144");
    EXPECT_EQ(again["problems"], nlohmann::json::array());
}

TEST_F(KvnInfo, PacketsOfFamiliesWithOtherRegistersAreNotRead)
{
    struct Part {
        const char* part;
        bool is_read;
        nlohmann::json unread;
    };
    const Part parts[] = {
        {"5vlx50ff6", false, "not read; those of the family Virtex-5 are not known here"},
        {"6slx9tqg1", false, "not read; those of the family Spartan-6 are not known here"},
        {"2v41cs144", false, "not read; those of this part are not known here"},
        {"3s50cp132", true, nullptr},
        {"4005epc84", false, nullptr},
        {"2v40cs144", true, nullptr},
        {"", true, nullptr},
    };
    make("2v40cs144-4", "a.bit");
    const std::string good = content("a.bit");
    for (const Part& each : parts) {
        SCOPED_TRACE(each.part);
        std::string file = good;
        std::string part = each.part;
        part.resize(9, '\0');
        file.replace(file.find("2v40cs144"), 9, part);
        write("a.bit", file);
        const nlohmann::json info = json({"info", "a.bit"});
        EXPECT_EQ(info["packets"].is_object(), each.is_read);
        EXPECT_EQ(info["packets_unread"], each.unread);
        EXPECT_EQ(info["header"]["design"], "example.ncd");
        const std::string output = kvn({"info", "a.bit"}).output;
        EXPECT_EQ(output.find("Registers:") != std::string::npos, each.is_read);
        EXPECT_EQ(output.find("Packets:        not read; ") != std::string::npos, each.unread.is_string());
    }
}

TEST_F(KvnInfo, UsageErrorsExitWith2AndHelpWith0)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"info"},
                                                      {"look", "a.bit"},
                                                      {"info", "a.bit", "--bytes-per-second", "0"},
                                                      {"check", "a.bit", "--load", "none"},
                                                      {"info", "a.bit", "b.bit"}})
        EXPECT_EQ(kvn(arguments).status, 2);
    EXPECT_EQ(kvn({"--help"}).status, 0);
    EXPECT_THAT(kvn({"check", "--help"}).output, testing::HasSubstr("--device"));
}

TEST_F(KvnInfo, OutputThatCannotBeWrittenIsAnError)
{
    make("2v40cs144-4", "a.bit");
    EXPECT_EQ(run({KVN_PROGRAM, {"check", "a.bit"}, folder, {}}, "", Output::full).status, 3);
}
} // namespace
