// SPDX-License-Identifier: Apache-2.0
// The state of modules in a folder: what outlives a program.
#include "state_fixture.h"

#include "support/special_files.h"
#include "system/process.h"

#include <functional>

namespace
{

using namespace mwvirtual;
using fpga::Defect;

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
    EXPECT_TRUE(state_has("\"process\":" + std::to_string(kvn::system::own_process_id())));
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
    {"Fifo", [](const std::string& path) { make_fifo(path); }, "it is no regular file of one name"},
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
        [](const std::string& path) { make_fifo(path); },
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
