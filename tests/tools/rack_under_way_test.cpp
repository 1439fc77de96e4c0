// SPDX-License-Identifier: Apache-2.0
// What kvn_rack shows of modules that are being loaded, or were left by a killed process, and of a full disk.
#include "rack_fixture.h"
#include "support/special_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <optional>
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
        signal(SIGPIPE, SIG_IGN);
        make_fifo(path("slow.rbt"));
        const std::string text = content("good.rbt");
        load_.emplace(load_of("slow.rbt", "0", "1"), path("slow.rbt"),
                      std::string_view{text}.substr(0, text.size() * 9 / 10));
    }
    void kill() { EXPECT_EQ(load_->kill(), 128 + KILL); }

private:
    std::optional<LoadUnderWay> load_;
};
} // namespace

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
