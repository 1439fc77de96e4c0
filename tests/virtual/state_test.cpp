// SPDX-License-Identifier: Apache-2.0
// The state of modules in a folder: what outlives a program, one that is killed too, and what several
// programs see of each other.
#include "bus_support.h"

#include "support/files.h"
#include "support/folder_test.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <system_error>

namespace
{

using namespace mwvirtual;
using fpga::Defect;

constexpr std::size_t BLOCK = 65536;
constexpr const char* STATE_FILE = "mwc4a-0-1.json";
constexpr const char* BITS_FILE = "mwc4a-0-1.bits";

void check(bool good, const char* what)
{
    if (!good)
        throw std::system_error(errno, std::generic_category(), what);
}

/// Another process with a rack of its own. It writes a byte to its standard output for each step, and lives
/// until it is killed.
class OtherProcess
{
public:
    explicit OtherProcess(const std::function<void(const std::function<void()>&)>& steps)
    {
        int ends[2];
        check(pipe(ends) == 0, "pipe");
        child_ = fork();
        check(child_ != -1, "fork");
        if (child_ == 0) {
            close(ends[0]);
            steps([&] {
                if (write(ends[1], "+", 1) != 1)
                    _exit(2);
            });
            for (;;)
                pause();
        }
        close(ends[1]);
        steps_ = ends[0];
    }
    ~OtherProcess()
    {
        if (child_ != -1)
            kill();
        close(steps_);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    [[nodiscard]] pid_t number() const { return child_; }
    /// Waits for that many steps. @return whether they were done
    bool wait_for_steps(std::size_t count) const
    {
        char step = 0;
        while (count != 0 && read(steps_, &step, 1) == 1)
            --count;
        return count == 0;
    }
    void kill()
    {
        ::kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = -1;
    }

private:
    pid_t child_ = -1;
    int steps_ = -1;
};

/// Ends a child process with a status that names the check that failed.
void require_in_child(bool good, int check_number)
{
    if (!good)
        _exit(check_number);
}

class State : public FolderTest
{
protected:
    /// A rack as a program of its own would have it, with its state in the folder.
    [[nodiscard]] Carrier rack() const
    {
        Carrier carrier;
        carrier.keep_journal(false);
        carrier.state_folder(folder.string());
        carrier.board("mwc4a", 0)
            .slot(1, fpga_module(4).device("2v250fg456-4").accepts_compressed())
            .slot(2, fpga_module(4).device("2v40cs144-4"))
            .slot(3, other_module(7));
        carrier.board("mwc4a", 1).reached_over("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
        return carrier;
    }
    [[nodiscard]] Contents contents(unsigned slot = 1) const { return rack().contents("mwc4a", 0, slot); }

    [[nodiscard]] bool state_has(const std::string& member) const
    {
        return content(STATE_FILE).find(member) != std::string::npos;
    }

    /// Loads in the middle: the message is open, and this many bytes of data are sent.
    static void begin_load(Bus& bus, std::span<const std::uint8_t> data)
    {
        EXPECT_EQ(bus.start(0, 1), SUCCESS);
        EXPECT_EQ(bus.data(PLAIN), SUCCESS);
        EXPECT_EQ(bus.data(data), SUCCESS);
    }

    /// A process that has sent part of a load to slot 1, and holds the message open.
    [[nodiscard]] std::unique_ptr<OtherProcess> sender() const
    {
        auto other = std::make_unique<OtherProcess>([&](const auto& step) {
            const Carrier carrier = rack();
            Bus bus;
            begin_load(bus, std::span{design}.first(2 * BLOCK + 1000));
            step();
            for (;;)
                pause();
        });
        EXPECT_TRUE(other->wait_for_steps(1));
        return other;
    }

    const Bytes design = bus_stream("2v250");
    const Bytes small = bus_stream("2v40");
};

TEST_F(State, OfAStartedModuleIsKnownToTheNextProgram)
{
    {
        const Carrier carrier = rack();
        Bus bus;
        EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, fpga::run_code(design))), 5);
        EXPECT_FALSE(carrier.contents("mwc4a", 0, 1).received.empty()) << "known to the program that sent it";
    }
    const Contents next = contents();
    EXPECT_TRUE(next.done);
    EXPECT_TRUE(next.finished);
    EXPECT_TRUE(next.compressed);
    EXPECT_EQ(next.loads, 1U);
    EXPECT_EQ(next.verdict, Verdict::success);
    EXPECT_EQ(next.configuration, design);
    EXPECT_TRUE(next.reason.starts_with("DONE went high after ")) << next.reason;
    EXPECT_EQ(next.configuration_bytes, design.size());
    EXPECT_TRUE(next.received.empty());
    EXPECT_EQ(contents(2).loads, 0U) << "the other modules are empty";
}

TEST_F(State, IsAFileOfJsonForEachModule)
{
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, std::span<const std::uint8_t>{})), 1);
    EXPECT_EQ(content(STATE_FILE),
              R"({"board":0,"board_type":"mwc4a","bytes":0,"command":3,"device":"2v250fg456-4",)"
              R"("digest":"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855","loads":1,)"
              R"("message":null,"reason":")" +
                  carrier.contents("mwc4a", 0, 1).reason +
                  R"(","slot":1,"state":"refused","verdict":1,"version":1})"
                  "\n");
    EXPECT_EQ(lines("mwc4a-0-2.json").size(), 0U);
}

TEST_F(State, OfARefusedModuleHasItsVerdict)
{
    const std::pair<Defect, Verdict> defects[] = {{Defect::no_sync, Verdict::no_synchronisation},
                                                  {Defect::crc, Verdict::crc_error},
                                                  {Defect::id, Verdict::wrong_device},
                                                  {Defect::short_data, Verdict::data_short}};
    std::size_t loads = 0;
    for (const auto& [defect, verdict] : defects) {
        const Bytes data = bus_stream("2v250", {.defect = defect});
        {
            const Carrier carrier = rack();
            Bus bus;
            EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, data)), static_cast<int>(verdict));
        }
        const Contents next = contents();
        EXPECT_FALSE(next.done);
        EXPECT_TRUE(next.finished);
        EXPECT_EQ(next.verdict, verdict);
        EXPECT_EQ(next.configuration, data);
        EXPECT_EQ(next.loads, ++loads);
        EXPECT_TRUE(state_has("\"state\":\"refused\"")) << content(STATE_FILE);
    }
}

TEST_F(State, OfALoadIsPartOfItsDataWhileItIsSent)
{
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    EXPECT_TRUE(state_has("\"state\":\"running\""));
    EXPECT_EQ(bus.start(0, 1), SUCCESS);
    EXPECT_TRUE(state_has("\"state\":\"running\"")) << "a message that may be a query stops nothing";
    EXPECT_EQ(bus.data(PLAIN), SUCCESS);
    EXPECT_TRUE(state_has("\"state\":\"part of its data\"")) << "from the first byte of the load";
    EXPECT_TRUE(state_has("\"bytes\":0"));
    EXPECT_TRUE(state_has("\"process\":" + std::to_string(getpid())));
    EXPECT_EQ(content(BITS_FILE).size(), 0U);
    EXPECT_EQ(bus.data(std::span{design}.first(BLOCK - 1)), SUCCESS);
    EXPECT_TRUE(state_has("\"bytes\":0"));
    EXPECT_EQ(bus.data(std::span{design}.subspan(BLOCK - 1, 1)), SUCCESS);
    EXPECT_TRUE(state_has("\"bytes\":65536"));
    EXPECT_EQ(bus.data(std::span{design}.subspan(BLOCK, 5)), SUCCESS);
    EXPECT_EQ(MwClose(&bus.handle), SUCCESS);
    EXPECT_TRUE(state_has("\"bytes\":65541")) << "known exactly when the bus is closed";
    EXPECT_TRUE(state_has("\"state\":\"part of its data\""));
    EXPECT_TRUE(state_has("\"message\":null"));
    const Contents next = carrier.contents("mwc4a", 0, 1);
    EXPECT_FALSE(next.finished);
    EXPECT_EQ(next.configuration, Bytes(design.begin(), design.begin() + BLOCK + 5));
    EXPECT_EQ(next.loads, 2U);
}

TEST_F(State, OfALoadByAKilledProcessIsPartOfItsData)
{
    const auto other = sender();
    const std::string process = "\"process\":" + std::to_string(other->number());
    EXPECT_TRUE(state_has(process));
    other->kill();
    EXPECT_TRUE(state_has("\"state\":\"part of its data\""));
    EXPECT_TRUE(state_has("\"bytes\":131072"));
    EXPECT_TRUE(state_has(process)) << "the message is left open";
    const Contents next = contents();
    EXPECT_FALSE(next.finished);
    EXPECT_FALSE(next.done);
    EXPECT_EQ(next.configuration, Bytes(design.begin(), design.begin() + 2 * BLOCK));
    EXPECT_EQ(next.reason, "the load has not ended");
}

TEST_F(State, AMessageThatAKilledProcessLeftIsDroppedWhenTheBusIsOpened)
{
    sender()->kill();
    const Carrier carrier = rack();
    {
        const Bus other_bus{"mwc4a", 1};
        EXPECT_EQ(other_bus.opened, SUCCESS);
        EXPECT_FALSE(state_has("\"message\":null")) << "another bus has not carried it";
        const Bus not_a_bus{"mwc4a", 0, "jtag"};
        EXPECT_FALSE(state_has("\"message\":null"));
    }
    Bus bus;
    EXPECT_TRUE(state_has("\"message\":null"));
    EXPECT_TRUE(state_has("\"state\":\"part of its data\"")) << "what the module holds does not change";
    EXPECT_EQ(bus.end(), NO_OPEN_MESSAGE);
    EXPECT_EQ(bus.reply().result, NO_REQUEST);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).loads, 2U);
}

TEST_F(State, AModuleThatReceivesAMessageOfAnotherProcessIsBusyUntilThatDies)
{
    const auto other = sender();
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_FALSE(state_has("\"message\":null")) << "opening the bus leaves the message of a living process";
    EXPECT_EQ(bus.start(0, 1), MODULE_BUSY);
    EXPECT_EQ(bus.query(1, 0, 1).result, MODULE_BUSY);
    EXPECT_EQ(MwKSBSendMessageEx(bus.handle, 3, 0, 1, nullptr, 0, TIMEOUT), MODULE_BUSY);
    EXPECT_EQ(bus.query(1, 0, 2).result, SUCCESS) << "the other modules are free";
    EXPECT_EQ(status_of(bus.load(0, 2, PLAIN, small)), 5);
    EXPECT_EQ(bus.query(1, 1, 1).result, SUCCESS);
    other->kill();
    EXPECT_EQ(bus.query(1, 0, 1).result, SUCCESS);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    EXPECT_TRUE(carrier.contents("mwc4a", 0, 1).done);
}

TEST_F(State, WholeMessagesOfSeveralProcessesWaitForEachOther)
{
    constexpr std::size_t PROCESSES = 3;
    constexpr std::size_t LOADS = 30;
    std::vector<std::unique_ptr<OtherProcess>> others;
    for (std::size_t i = 0; i < PROCESSES; ++i) {
        others.push_back(std::make_unique<OtherProcess>([&](const auto& step) {
            const Carrier carrier = rack();
            for (std::size_t load = 0; load < LOADS; ++load) {
                Bus bus;
                require_in_child(MwKSBSendMessageEx(bus.handle, 3, 0, 1, "abc", 3, TIMEOUT) == SUCCESS, 3);
                require_in_child(bus.query(1, 0, 1).result == SUCCESS, 4);
                step();
            }
        }));
    }
    for (const auto& other : others)
        EXPECT_TRUE(other->wait_for_steps(LOADS));
    EXPECT_EQ(contents().loads, PROCESSES * LOADS);
    EXPECT_EQ(contents().configuration, (Bytes{'a', 'b', 'c'}));
}

TEST_F(State, IsTheOneBeforeOrTheOneAfterAtWhateverMomentAProcessIsKilled)
{
    std::size_t loads_before = 0;
    for (std::size_t moment = 1; moment <= 24; ++moment) {
        OtherProcess other{[&](const auto& step) {
            const Carrier carrier = rack();
            Bus bus;
            for (;;) {
                require_in_child(bus.start(0, 1) == SUCCESS && bus.data(PLAIN) == SUCCESS, 3);
                step();
                for (std::size_t at = 0; at < design.size(); at += 20'000) {
                    const auto rest = std::span{design}.subspan(at);
                    require_in_child(
                        bus.data(rest.first(std::min<std::size_t>(20'000, rest.size()))) == SUCCESS, 4);
                    step();
                }
                require_in_child(bus.end() == SUCCESS && status_of(bus.reply()) == 5, 5);
                step();
            }
        }};
        EXPECT_TRUE(other.wait_for_steps(moment));
        other.kill();
        const Contents after = contents();
        EXPECT_GT(after.loads, loads_before);
        loads_before = after.loads;
        EXPECT_EQ(after.done, after.configuration.size() == design.size() && after.finished);
        EXPECT_TRUE(std::equal(after.configuration.begin(), after.configuration.end(), design.begin()));
        EXPECT_TRUE(after.done || (!after.finished && after.configuration.size() % BLOCK == 0));
    }
}

TEST_F(State, BelongsToTheModuleOfThatDevice)
{
    {
        const Carrier carrier = rack();
        Bus bus;
        EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    }
    Carrier carrier = rack();
    carrier.board("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).loads, 0U);
    Bus bus;
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, small)), 5);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 1).loads, 1U);
}

TEST_F(State, OfBoardsWithOddNamesStaysInTheFolder)
{
    Carrier carrier = rack();
    const std::string type = "../\xFF%-1";
    carrier.board(type, 2).slot(1, fpga_module(4).device("2v40cs144-4"));
    {
        Bus bus{type.c_str(), 2};
        EXPECT_EQ(status_of(bus.load(2, 1, {3, 2 << 3 | 5}, small)), 5);
    }
    EXPECT_FALSE(content("%2E%2E%2F%FF%25%2D1-2-1.json").empty());
    EXPECT_TRUE(carrier.contents(type, 2, 1).done);
}

TEST_F(State, HasADigestWithoutTheOnesAtItsEnd)
{
    const Carrier carrier = rack();
    Bus bus;
    const std::pair<const char*, const char*> digests[] = {
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abc\xFF\xFF", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"\xFF", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"a\xFF"
         "b\xFF",
         "01ce0241d2a0e71a4fecd5a8d71157fe2787197732fc15d889cbcf36c38e3c68"}};
    for (const auto& [data, digest] : digests) {
        const std::string_view text{data};
        EXPECT_NE(status_of(bus.load(0, 1, PLAIN, Bytes(text.begin(), text.end()))), 5);
        EXPECT_TRUE(state_has(std::string{"\"digest\":\""} + digest)) << content(STATE_FILE);
        EXPECT_EQ(content(BITS_FILE), text);
    }
}

TEST_F(State, ThatCannotBeWrittenFailsTheCallAndIsStillTrue)
{
    OtherProcess other{[&](const auto& step) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit most{BLOCK + 100, BLOCK + 100};
        require_in_child(setrlimit(RLIMIT_FSIZE, &most) == 0, 3);
        const Carrier carrier = rack();
        Bus bus;
        require_in_child(bus.start(0, 1) == SUCCESS && bus.data(PLAIN) == SUCCESS, 4);
        require_in_child(bus.data(std::span{design}.first(BLOCK)) == SUCCESS, 5);
        require_in_child(bus.data(std::span{design}.subspan(BLOCK)) == STATE_FAILED, 6);
        step();
        require_in_child(error_text(STATE_FAILED) ==
                             std::string{BITS_FILE} + " in " + folder.string() + ": File too large",
                         7);
        require_in_child(bus.data(std::span{design}.first(1)) == STATE_FAILED, 8);
        require_in_child(bus.end() == STATE_FAILED, 9);
        require_in_child(bus.reply().result == NO_REQUEST, 10);
        step();
        require_in_child(MwKSBSendMessageEx(bus.handle, 3, 0, 1, design.data(),
                                            static_cast<std::uint32_t>(design.size()),
                                            TIMEOUT) == STATE_FAILED,
                         11);
        require_in_child(bus.start(0, 1) == SUCCESS, 12);
        require_in_child(MwClose(&bus.handle) == SUCCESS, 13);
        require_in_child(carrier.misuse().size() == 1, 14);
        step();
    }};
    EXPECT_TRUE(other.wait_for_steps(3));
    const Contents after = contents();
    EXPECT_FALSE(after.finished);
    EXPECT_EQ(after.configuration, Bytes(design.begin(), design.begin() + BLOCK));
}

TEST_F(State, WithoutItsFolderNoBoardIsOpened)
{
    EXPECT_EQ(error_text(STATE_FAILED), "the state of a module cannot be read or kept");
    for (const char* name : {"none", "file"}) {
        write("file", "");
        Carrier carrier = rack();
        carrier.state_folder(path(name));
        const std::string problem =
            "the folder " + path(name) + " for the state of modules: " +
            (name == std::string{"none"} ? "No such file or directory" : "Not a directory");
        EXPECT_EQ(Bus{}.opened, STATE_FAILED);
        EXPECT_EQ(error_text(STATE_FAILED), problem);
        EXPECT_EQ(carrier.misuse().size(), 0U);
        carrier.state_folder("");
        EXPECT_EQ(Bus{}.opened, SUCCESS);
    }
}

/// What is in the folder in place of a module's file, and how that is told.
struct Hostile {
    const char* name;
    std::function<void(const std::string& path)> put;
    const char* problem;
};

const std::string GOOD =
    R"({"board":0,"board_type":"mwc4a","bytes":0,"command":null,"device":"","digest":null,"loads":0,)"
    R"("message":null,"reason":"","slot":1,"state":"empty","verdict":null,"version":1})";

/// The good state with another text in place of one.
Hostile changed(const char* name, const std::string& from, const std::string& to)
{
    return {name,
            [=](const std::string& path) {
                std::string text = GOOD;
                text.replace(text.find(from), from.size(), to);
                write_whole_file(path, text);
            },
            "it is no state of mwc4a:0/1"};
}

Hostile text(const char* name, const std::string& content,
             const char* problem = "it is no state of mwc4a:0/1")
{
    return {name, [=](const std::string& path) { write_whole_file(path, content); }, problem};
}

const Hostile HOSTILE[] = {
    text("Empty", ""),
    text("Cut", GOOD.substr(0, 100)),
    text("NoJson", "state"),
    text("AnArray", "[1]"),
    text("Deep", std::string(10'000, '[')),
    text("Huge", std::string(70'000, ' ') + GOOD, "it is too long"),
    changed("OtherVersion", "\"version\":1", "\"version\":2"),
    changed("OtherBoard", "\"board\":0", "\"board\":1"),
    changed("OtherType", "mwc4a", "mwc3a"),
    changed("OtherSlot", "\"slot\":1", "\"slot\":2"),
    changed("NoSlot", "\"slot\":1,", ""),
    changed("NumberAsText", "\"loads\":0", "\"loads\":\"0\""),
    changed("NegativeNumber", "\"loads\":0", "\"loads\":-1"),
    changed("UnknownState", "\"empty\"", "\"full\""),
    changed("EmptyWithBytes", "\"bytes\":0", "\"bytes\":1"),
    changed("EmptyWithVerdict", "\"verdict\":null", "\"verdict\":5"),
    changed("PartWithoutLoad", "\"empty\"", "\"part of its data\""),
    changed("RunningWithoutVerdict", R"("loads":0,"message":null,"reason":"","slot":1,"state":"empty")",
            R"("loads":1,"message":null,"reason":"","slot":1,"state":"running")"),
    changed("UnknownVerdict", "\"verdict\":null", "\"verdict\":11"),
    changed("NoVerdict", "\"verdict\":null", "\"verdict\":0"),
    changed("UnknownCommand", "\"command\":null", "\"command\":4"),
    changed("MessageOfAnotherKind", "\"message\":null", "\"message\":7"),
    changed("DigestOfAnotherKind", "\"digest\":null", "\"digest\":\"ab\""),
    {"Folder", [](const std::string& path) { std::filesystem::create_directory(path); },
     "it is no regular file of one name"},
    {"Fifo", [](const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); },
     "it is no regular file of one name"},
    {"Link", [](const std::string& path) { std::filesystem::create_symlink("elsewhere", path); },
     "it is no regular file of one name"},
    {"HardLink",
     [](const std::string& path) {
         std::filesystem::create_hard_link(std::filesystem::path{path}.replace_filename("elsewhere"), path);
     },
     "it is no regular file of one name"},
};

class HostileState : public State, public testing::WithParamInterface<Hostile>
{
};

TEST_P(HostileState, FailsMessagesToThatModuleAndNoOthers)
{
    write("elsewhere", GOOD);
    GetParam().put(path(STATE_FILE));
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_EQ(bus.opened, SUCCESS);
    EXPECT_EQ(bus.start(0, 1), STATE_FAILED);
    const std::string problem =
        std::string{STATE_FILE} + " in " + folder.string() + ": " + GetParam().problem;
    EXPECT_EQ(error_text(STATE_FAILED), problem);
    EXPECT_EQ(bus.query(1, 0, 1).result, SUCCESS) << "a query needs no state";
    EXPECT_EQ(status_of(bus.load(0, 2, PLAIN, small)), 5);
    EXPECT_EQ(carrier.misuse().size(), 0U);
    try {
        (void)carrier.contents("mwc4a", 0, 1);
        ADD_FAILURE() << "nothing is known of that module";
    } catch (const RackError& error) {
        EXPECT_EQ(error.what(), problem);
    }
    EXPECT_EQ(content("elsewhere"), GOOD);
}

INSTANTIATE_TEST_SUITE_P(Files, HostileState, testing::ValuesIn(HOSTILE),
                         [](const testing::TestParamInfo<Hostile>& hostile) { return hostile.param.name; });

TEST_F(State, AConfigurationThatIsNotTheOneOfTheDigestIsTold)
{
    const auto load = [&] {
        const Carrier carrier = rack();
        Bus bus;
        return status_of(bus.load(0, 1, PLAIN, design));
    };
    EXPECT_EQ(load(), 5);
    const std::string whole = content(BITS_FILE);
    std::string other = whole;
    other[1000] ^= 1;
    for (const std::string& bits : {whole.substr(1), other, std::string{}}) {
        write(BITS_FILE, bits);
        EXPECT_THROW((void)contents(), RackError);
        EXPECT_EQ(load(), 5) << "the next load puts it right";
        EXPECT_TRUE(contents().done);
    }
    write(BITS_FILE, whole + "more");
    EXPECT_EQ(contents().configuration, design) << "what follows does not count";
}

TEST_F(State, FilesInPlaceOfTheConfigurationAreLeftAlone)
{
    write("elsewhere", "mine");
    const std::function<void(const std::string&)> others[] = {
        [](const std::string& path) { std::filesystem::create_directory(path); },
        [](const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); },
        [](const std::string& path) { std::filesystem::create_symlink("elsewhere", path); },
        [&](const std::string& file) { std::filesystem::create_hard_link(path("elsewhere"), file); }};
    for (const auto& put : others) {
        put(path(BITS_FILE));
        const Carrier carrier = rack();
        Bus bus;
        EXPECT_EQ(bus.start(0, 1), STATE_FAILED);
        EXPECT_EQ(error_text(STATE_FAILED),
                  std::string{BITS_FILE} + " in " + folder.string() + ": it is no regular file of one name");
        EXPECT_EQ(bus.query(1, 0, 1).result, STATE_FAILED);
        std::filesystem::remove(path(BITS_FILE));
    }
    EXPECT_EQ(content("elsewhere"), "mine");
}

TEST_F(State, WhatIsLeftOfAFileThatWasNotCompletedIsReplaced)
{
    write("elsewhere", "mine");
    std::filesystem::create_symlink("elsewhere", path("mwc4a-0-1.new"));
    {
        const Carrier carrier = rack();
        Bus bus;
        EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, design)), 5);
    }
    EXPECT_EQ(content("elsewhere"), "mine");
    EXPECT_TRUE(contents().done);
    std::filesystem::create_directories(path("mwc4a-0-1.new/full"));
    const Carrier carrier = rack();
    Bus bus;
    EXPECT_EQ(bus.start(0, 1), STATE_FAILED);
    EXPECT_EQ(error_text(STATE_FAILED), "mwc4a-0-1.new in " + folder.string() + ": Is a directory");
}

} // namespace
