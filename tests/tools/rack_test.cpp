// SPDX-License-Identifier: Apache-2.0
// The program kvn_rack beside loads of KVN_FPGA: what it shows of modules that were loaded, are being loaded,
// or were left by a killed process.
#include "utility_fixture.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

namespace
{
using Json = nlohmann::json;

constexpr std::size_t BLOCK = 65536;

void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(errno, std::generic_category(), what);
}

class Rack : public UtilityTest
{
protected:
    Rack()
    {
        signal(SIGPIPE, SIG_IGN);
        std::filesystem::create_directory(path("state"));
        variables["KVN_MWAPI"] = "virtual";
        variables["MWVIRTUAL_RACK"] = path("rack.toml");
        variables["MWVIRTUAL_STATE"] = path("state");
        std::string rack;
        for (const char* board : {"0", "1"}) {
            rack += std::string{"[[board]]\ntype = \"mwc4a\"\nnumber = "} + board + '\n';
            for (const char* slot : {"1", "2"})
                rack += std::string{"[[board.slot]]\nnumber = "} + slot +
                        "\nkind = \"fpga\"\nmodel = 3\ndevice = \"2v250fg456-4\"\n";
        }
        write("rack.toml", rack);
        make("2v250fg456", "good.rbt", {});
    }

    void make(const std::string& device, const std::string& file, std::vector<std::string> options) const
    {
        options.insert(options.begin(), {device, "-o", file});
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, options, folder}).status, 0);
    }
    [[nodiscard]] Command load_of(const std::string& file, const std::string& board,
                                  const std::string& slot) const
    {
        return kvn_fpga({"-u", "-f" + file, "-dmwc4a", "-b" + board, "-s" + slot});
    }
    [[nodiscard]] int load(const std::string& file, const std::string& board, const std::string& slot) const
    {
        return run(load_of(file, board, slot)).status;
    }
    [[nodiscard]] Outcome kvn_rack(std::vector<std::string> arguments, Output output = Output::kept) const
    {
        return run({KVN_RACK_PROGRAM, std::move(arguments), folder}, "", output);
    }
    /// What kvn_rack tells of the folder, as JSON.
    [[nodiscard]] Json shown() const
    {
        const Outcome outcome = kvn_rack({"state", "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        Json json = Json::parse(outcome.output, nullptr, false);
        EXPECT_EQ(json["kvn_rack"], "state") << outcome.output;
        EXPECT_EQ(json["exit_status"], outcome.status);
        return json;
    }
    [[nodiscard]] Json module(const std::string& name) const
    {
        const Json all = shown();
        for (const Json& each : all["modules"])
            if (each["module"] == name)
                return each;
        return {};
    }
    [[nodiscard]] std::string digest_of_bits(const std::string& file) const
    {
        return run({"/usr/bin/sha256sum", {"state/" + file}, folder}).output.substr(0, 64);
    }
};

/// A load that has sent part of its file, and waits for more of it.
class LoadUnderWay
{
public:
    LoadUnderWay(const Command& load, const std::string& pipe, std::string_view part)
        : running_{load}, feed_{open(pipe.c_str(), O_WRONLY | O_CLOEXEC)}
    {
        check(feed_ != -1, "open");
        // Returns when the program has taken all but what the pipe holds.
        while (!part.empty()) {
            const ssize_t taken = ::write(feed_, part.data(), part.size());
            check(taken > 0, "write");
            part.remove_prefix(static_cast<std::size_t>(taken));
        }
    }
    ~LoadUnderWay() { close(feed_); }
    LoadUnderWay(const LoadUnderWay&) = delete;
    LoadUnderWay& operator=(const LoadUnderWay&) = delete;

    int kill() { return running_.stop(KILL); }

private:
    Running running_;
    int feed_;
};

/// A load of slot 1 of board 0 that is under way until it is killed.
class RackUnderWay : public Rack
{
protected:
    RackUnderWay()
    {
        check(mkfifo(path("slow.rbt").c_str(), 0600) == 0, "mkfifo");
        const std::string text = content("good.rbt");
        load_.emplace(load_of("slow.rbt", "0", "1"), path("slow.rbt"),
                      std::string_view{text}.substr(0, text.size() * 9 / 10));
    }
    void kill() { EXPECT_EQ(load_->kill(), 128 + KILL); }

private:
    std::optional<LoadUnderWay> load_;
};
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

TEST_F(RackUnderWay, ALoadIsShownWithItsProcess)
{
    const Json module_now = module("mwc4a:0/1");
    EXPECT_EQ(module_now["state"], "part of its data");
    EXPECT_GE(module_now["bytes"], BLOCK) << "more has passed than the pipe and the program's buffer hold";
    EXPECT_EQ(module_now["digest"], nullptr);
    EXPECT_EQ(module_now["verdict"], nullptr);
    const Json message = shown()["buses"][0]["messages"][0];
    EXPECT_EQ(shown()["buses"][0]["bus"], "mwc4a:0");
    EXPECT_EQ(message["module"], "mwc4a:0/1");
    EXPECT_EQ(message["sending"], true);
    EXPECT_TRUE(kvn_rack({"state"}).output.ends_with("\nBus mwc4a:0: process " + message["process"].dump() +
                                                     " is sending to mwc4a:0/1\n"))
        << kvn_rack({"state"}).output;
}

TEST_F(RackUnderWay, AKilledLoadLeavesPartOfTheDataAndAnOpenMessage)
{
    const Json before = module("mwc4a:0/1");
    kill();
    EXPECT_EQ(module("mwc4a:0/1"), before) << "what the module has does not change by a death";
    const Json message = shown()["buses"][0]["messages"][0];
    EXPECT_EQ(message["sending"], false);
    EXPECT_TRUE(kvn_rack({"state"}).output.ends_with("\nBus mwc4a:0: process " + message["process"].dump() +
                                                     " has ended, and left a message open to mwc4a:0/1\n"))
        << kvn_rack({"state"}).output;
    const std::string sent = content("state/mwc4a-0-1.bits");
    EXPECT_EQ(sent.size(), before["bytes"]);
    EXPECT_EQ(load("good", "0", "2"), 0);
    EXPECT_EQ(shown()["buses"], Json::array()) << "the next program that opens the bus drops the message";
    EXPECT_EQ(module("mwc4a:0/1"), before);
    EXPECT_EQ(content("state/mwc4a-0-2.bits").substr(0, sent.size()), sent);
    EXPECT_EQ(load("good", "0", "1"), 0);
    EXPECT_EQ(module("mwc4a:0/1")["loads"], 2);
    EXPECT_EQ(module("mwc4a:0/1")["state"], "running");
}

TEST_F(RackUnderWay, TheModuleIsBusyForOthersAndItsNeighboursAreFree)
{
    const Outcome second = run(load_of("good", "0", "1"));
    EXPECT_EQ(second.status, 7);
    EXPECT_NE(second.errors.find("the module is taking another message"), std::string::npos) << second.errors;
    EXPECT_EQ(load("good", "0", "2"), 0) << "another slot of the board";
    EXPECT_EQ(load("good", "1", "1"), 0) << "another bus";
    EXPECT_EQ(module("mwc4a:0/1")["loads"], 1);
    kill();
    EXPECT_EQ(load("good", "0", "1"), 0) << "the death of the first one frees the module";
}

TEST_F(RackUnderWay, APowerCycleEmptiesNothingUntilItHasEnded)
{
    EXPECT_EQ(load("good", "1", "1"), 0);
    const Outcome refused = kvn_rack({"state", "--power-cycle"});
    EXPECT_EQ(refused.status, 7);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.errors, "kvn_rack: mwc4a:0/1 receives a message; no module has been emptied\n");
    EXPECT_EQ(module("mwc4a:1/1")["state"], "running");
    kill();
    const Outcome done = kvn_rack({"state", "--power-cycle"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.output, "Module     State  Loads  Bytes  Verdict  Digest\n"
                           "mwc4a:0/1  empty      0      0  -        -\n"
                           "mwc4a:1/1  empty      0      0  -        -\n");
    EXPECT_EQ(content("state/mwc4a-1-1.bits"), "");
    EXPECT_EQ(load("good", "1", "1"), 0);
    EXPECT_EQ(module("mwc4a:1/1")["loads"], 1);
    EXPECT_EQ(module("mwc4a:1/1")["state"], "running");
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

TEST_F(Rack, AFullDiskFailsTheLoadAndTheStateStaysTrue)
{
    Command limited = load_of("good", "0", "1");
    limited.arguments.insert(limited.arguments.begin(),
                             {"-c", R"(trap '' XFSZ; ulimit -f 128; exec "$0" "$@")", KVN_FPGA_PROGRAM});
    limited.program = "/bin/sh";
    const Outcome outcome = run(limited);
    EXPECT_EQ(outcome.status, 7);
    EXPECT_NE(outcome.errors.find("mwc4a-0-1.bits in " + path("state") + ": File too large"),
              std::string::npos)
        << outcome.errors;
    EXPECT_EQ(module("mwc4a:0/1")["state"], "part of its data");
    EXPECT_EQ(module("mwc4a:0/1")["bytes"], BLOCK);
    EXPECT_EQ(load("good", "0", "1"), 0);
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
