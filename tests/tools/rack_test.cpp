// SPDX-License-Identifier: Apache-2.0
// The program kvn_rack after loads of KVN_FPGA.
#include "rack_fixture.h"

namespace
{
using Json = nlohmann::json;
} // namespace

TEST_F(Rack, ShowsWhatWasLoaded)
{
    EXPECT_EQ(kvn_rack({"state"}).output, "No module has a state.\n");
    EXPECT_EQ(load("good", "0", "1"), 0);
    EXPECT_EQ(load("good", "0", "1"), 0);
    make("2v250fg456", "bad.rbt", {"--defect", "crc"});
    EXPECT_EQ(load("bad", "1", "2"), 8);
    const std::string bytes = std::to_string(std::filesystem::file_size(path("state/mwc4a-0-1.bits")));
    const std::string digest = digest_of_bits("mwc4a-0-1.bits");
    const Outcome outcome = kvn_rack({"state"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "Module     State    Loads   Bytes  Verdict    Digest\n"
                              "mwc4a:0/1  running      2  " +
                                  bytes + "  success    " + digest +
                                  "\n"
                                  "mwc4a:1/2  refused      1  " +
                                  bytes + "  CRC error  " + digest_of_bits("mwc4a-1-2.bits") + "\n");
    EXPECT_EQ(shown()["buses"], Json::array());
    const Json first = module("mwc4a:0/1");
    EXPECT_EQ(first["device"], "2v250fg456-4");
    EXPECT_EQ(first["state"], "running");
    EXPECT_EQ(first["loads"], 2);
    EXPECT_EQ(first["bytes"], std::stoi(bytes));
    EXPECT_EQ(first["compressed"], false);
    EXPECT_EQ(first["digest"], digest);
    EXPECT_EQ(first["verdict"], 5);
    EXPECT_EQ(first["verdict_name"], "success");
    EXPECT_TRUE(first["reason"].get<std::string>().starts_with("DONE went high after ")) << first["reason"];
    EXPECT_EQ(module("mwc4a:1/2")["verdict"], 2);
}

TEST_F(Rack, ShowsEachVerdict)
{
    const std::pair<const char*, int> defects[] = {
        {"no-sync", 1}, {"crc", 2}, {"id", 3}, {"short", 4}, {"no-start", 4}};
    for (const auto& [defect, verdict] : defects) {
        make("2v250fg456", "bad.rbt", {"--defect", defect});
        EXPECT_EQ(load("bad", "0", "2"), 8);
        const Json shown = module("mwc4a:0/2");
        EXPECT_EQ(shown["state"], "refused") << defect;
        EXPECT_EQ(shown["verdict"], verdict) << defect;
    }
    EXPECT_EQ(load("good", "0", "2"), 0);
    EXPECT_EQ(module("mwc4a:0/2")["state"], "running");
    EXPECT_EQ(module("mwc4a:0/2")["loads"], 6);
}

TEST_F(Rack, TellsDamageAndShowsTheOtherModules)
{
    EXPECT_EQ(load("good", "0", "1"), 0);
    EXPECT_EQ(load("good", "0", "2"), 0);
    write("state/mwc4a-0-1.json", "{\x1B]0;title\x07");
    write("state/notes.txt", "mine");
    write("state/mwc4a-00-1.json", "foreign");
    write("state/mwc4a-0-9.json", "foreign");
    write("state/%6Dwc4a-0-3.json", "foreign");
    const std::string problem = "mwc4a-0-1.json in state: it is no state of mwc4a:0/1";
    const Outcome table = kvn_rack({"state"});
    EXPECT_EQ(table.status, 4);
    EXPECT_EQ(table.errors, "kvn_rack: " + problem + "\n");
    EXPECT_NE(table.output.find("\nmwc4a:0/2  running "), std::string::npos) << table.output;
    const Outcome json = kvn_rack({"state", "--json"});
    EXPECT_EQ(json.status, 4);
    EXPECT_EQ(Json::parse(json.output)["problems"], Json::array({problem}));
    EXPECT_EQ(Json::parse(json.output)["modules"].size(), 1U);
    write("state/mwc4a-0-2.bits", "short");
    EXPECT_EQ(kvn_rack({"state"}).errors,
              "kvn_rack: " + problem +
                  "\nkvn_rack: mwc4a-0-2.bits in state: it is not the configuration of mwc4a:0/2\n");
    EXPECT_EQ(kvn_rack({"state", "--power-cycle"}).status, 0) << "which is the remedy";
    EXPECT_EQ(content("state/notes.txt"), "mine");
    EXPECT_EQ(content("state/mwc4a-0-9.json"), "foreign");
}

TEST_F(Rack, ShowsNamesOfBoardsWithoutControlCharacters)
{
    write("state/%1B%5BH-0-1.bits", "");
    EXPECT_EQ(kvn_rack({"state"}).output, "Module      State  Loads  Bytes  Verdict  Digest\n"
                                          "\\x1B[H:0/1  empty      0      0  -        -\n");
    write("state/%FF-0-1.bits", "");
    EXPECT_EQ(shown()["modules"][1]["module"], (Json{{"hex", "FF 3A 30 2F 31"}}));
}

TEST_F(Rack, WithoutTheVariableNothingIsKept)
{
    variables.erase("MWVIRTUAL_STATE");
    EXPECT_EQ(load("good", "0", "1"), 0);
    EXPECT_TRUE(std::filesystem::is_empty(path("state")));
}

TEST_F(Rack, TellsWhatItCannotDo)
{
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string problem;
    };
    const Case cases[] = {
        {{}, 2, "folder is required; kvn_rack --help tells more"},
        {{"state", "--power"},
         2,
         "The following argument was not expected: --power; kvn_rack --help tells more"},
        {{"none"}, 3, "the folder none for the state of modules: No such file or directory"},
        {{"good.rbt", "--power-cycle"}, 3, "the folder good.rbt for the state of modules: Not a directory"}};
    for (const Case& each : cases) {
        Outcome outcome = kvn_rack(each.arguments);
        EXPECT_EQ(outcome.status, each.status);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "kvn_rack: " + each.problem + "\n");
        std::vector<std::string> with_json = each.arguments;
        with_json.emplace_back("--json");
        outcome = kvn_rack(with_json);
        EXPECT_EQ(outcome.status, each.status);
        EXPECT_EQ(Json::parse(outcome.output)["problems"], Json::array({each.problem}));
        EXPECT_EQ(Json::parse(outcome.output)["exit_status"], each.status);
    }
    const Outcome full = kvn_rack({"state"}, Output::full);
    EXPECT_EQ(full.status, 3);
    EXPECT_EQ(full.errors, "kvn_rack: cannot write to standard output\n");
}

TEST_F(Rack, HelpsWithExamplesThatWork)
{
    const Outcome help = kvn_rack({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(
        help.output.find("Examples:\n  kvn_rack rack-state\n  kvn_rack rack-state --power-cycle --json\n"),
        std::string::npos)
        << help.output;
    std::filesystem::create_directory(path("rack-state"));
    EXPECT_EQ(kvn_rack({"rack-state"}).status, 0);
    EXPECT_EQ(kvn_rack({"rack-state", "--power-cycle", "--json"}).status, 0);
    EXPECT_TRUE(kvn_rack({"--version"}).output.starts_with("kvn_rack 2."));
    EXPECT_EQ(Json::parse(kvn_rack({"--version", "--json"}).output)["exit_status"], 0);
}
