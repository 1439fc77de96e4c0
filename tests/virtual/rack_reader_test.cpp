// SPDX-License-Identifier: Apache-2.0
// Rack descriptions: the racks they give, and the reports of mistakes in them.
#include "bus_support.h"
#include "support/special_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace
{

using namespace mwvirtual;

template <class Read>
std::string mistake_of(Read read)
{
    try {
        (void)read();
    } catch (const RackError& error) {
        return error.what();
    }
    return "none";
}

std::string mistake_in(const std::string& text, const char* keep_folder = "")
{
    return mistake_of([&] { return Carrier::from_toml(text, "rack.toml", keep_folder); });
}

std::string mistake_in_file(const std::string& path)
{
    return mistake_of([&] { return Carrier::from_file(path); });
}

TEST(RackReader, TheBuiltinRackHasOneOfEachKind)
{
    Carrier carrier = Carrier::from_toml(Carrier::builtin_rack(), "built-in");
    carrier.keep_journal(false);
    Bus bus;
    ASSERT_EQ(bus.opened, SUCCESS);
    std::array<std::uint32_t, 21> record{};
    ASSERT_EQ(MwGetBoardInfo("mwc4a", 0, record.data()), SUCCESS);
    const std::array<std::uint32_t, 21> expected{0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 0,
                                                 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(record, expected);
    const auto device_in = [&](unsigned board, unsigned slot) {
        const Bytes data = bus.query(1, board, slot).data;
        return data.size() == 30 ? std::string{reinterpret_cast<const char*>(data.data()) + 3} : "";
    };
    EXPECT_EQ(device_in(0, 1), "2v3000fg676-4");
    EXPECT_EQ(device_in(0, 2), "v300pq240-5");
    EXPECT_EQ(device_in(1, 1), "2vp30ff896-6");
    EXPECT_EQ(device_in(1, 2), "2s200fg456-5");
    EXPECT_EQ(bus.query(11, 0, 1).data, Bytes{1});
    EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, fpga::run_code(bus_stream("2v3000")))), 5);
    EXPECT_EQ(status_of(bus.load(0, 2, PLAIN, bus_stream("v300"))), 5);
}

TEST(RackReader, EveryKeyHasItsEffect)
{
    Carrier carrier = Carrier::from_toml(R"(
[[board]]
type = "mwx2"
number = 15
opens = true
latency_us = 10
bytes_per_second = 1000000
info_word = 0xFFFFFFFF

[[board.slot]]
number = 4
kind = "io"
model = 5
version = 9
device = "s40xlpq208-4"
compression = "query"
info = [2, 0, 3, 4, 5]

[[board.slot.fault]]
kind = "wrong-status"
status = 77
nth = 2

[[board.slot.fault]]
kind = "short-reply"
reply = "identification"
length = 3

[[board.slot]]
number = 1
kind = "other"
type = 7
model = 2
version = 3

[[board.slot]]
number = 2
kind = "no-bus"

[[board.fault]]
kind = "flip-byte"
after = 100
mask = 1

[[board]]
type = "mwx2"
number = 2
opens = false
reached_over = ["mwx2 15"]

[[board.slot]]
number = 3
kind = "fpga"
device = "v50ecs144-6"

[[fault]]
function = "MwKSBSendMessage"
call = 1
code = 0x80000001
text = "no carrier"
)",
                                         "rack.toml");
    std::chrono::nanoseconds waited{0};
    carrier.on_wait([&](std::chrono::nanoseconds time) { waited += time; });
    EXPECT_EQ(Bus("mwx2", 2).opened, NO_SUCH_BOARD);
    Bus bus{"mwx2", 15};
    ASSERT_EQ(bus.opened, SUCCESS);
    std::array<std::uint32_t, 21> record{};
    ASSERT_EQ(MwGetBoardInfo("mwx2", 15, record.data()), SUCCESS);
    const std::array<std::uint32_t, 21> expected{0xFFFFFFFF, 1, 0, 1, 0, 0, 1, 0, 0, 0, 0,
                                                 0,          0, 0, 0, 0, 2, 0, 3, 4, 5};
    EXPECT_EQ(record, expected);
    EXPECT_EQ(bus.query(1, 15, 4).data, (Bytes{4, 5, 9}));
    EXPECT_EQ(bus.query(1, 15, 1).data[0], 7);
    EXPECT_EQ(bus.query(1, 2, 3).data[1], 4) << "the model that kinds have by default";
    EXPECT_EQ(MwKSBSendMessage(bus.handle, 11, 4, nullptr, 0, TIMEOUT), 0x80000001U);
    EXPECT_EQ(error_text(0x80000001), "no carrier");
    EXPECT_GT(waited.count(), 0);
    const Bytes stream = bus_stream("s40xl");
    EXPECT_EQ(status_of(bus.load(15, 4, {0x03, 0x7D}, stream)), 2) << "the link flips a bit";
    EXPECT_EQ(status_of(bus.load(15, 4, {0x03, 0x7D}, stream)), 77);
}

struct Mistake {
    const char* name;
    std::string text;
    std::string told; ///< behind the file's name
};

using RackMistake = testing::TestWithParam<Mistake>;

TEST_P(RackMistake, IsToldWithFileLineAndWhatWasExpected)
{
    EXPECT_EQ(mistake_in(GetParam().text), "rack.toml:" + GetParam().told);
}

const std::string BOARD = "[[board]]\ntype = \"a\"\nnumber = 1\n";
const std::string SLOT = BOARD + "[[board.slot]]\nnumber = 2\n";

const Mistake mistakes[] = {
    {"NoBoard", "", "1: a rack needs at least one [[board]]"},
    {"UnknownTopKey", "\n[[boards]]\ntype = \"a\"",
     "2: unknown key \"boards\" in a rack; did you mean \"board\"?"},
    {"BoardIsNoList", "board = 3", "1: \"board\" must be a list of tables"},
    {"NoType", "[[board]]\nnumber = 0", "1: a board needs \"type\""},
    {"TypeIsNoText", "[[board]]\ntype = 7\nnumber = 0", "2: \"type\" must be a text of 1 to 31 characters"},
    {"BoardNumber", "[[board]]\ntype = \"a\"\nnumber = 16",
     "3: \"number\" must be a whole number from 0 to 15"},
    {"BoardKey", BOARD + "latency = 3",
     "4: unknown key \"latency\" in a board; did you mean \"latency_us\"?"},
    {"BoardTwice", BOARD + "[[board]]\ntype = \"a\"\nnumber = 1", "4: board \"a 1\" is described twice"},
    {"OpensIsNoTruth", BOARD + "opens = 1", "4: \"opens\" must be true or false"},
    {"ReachOverNothing", BOARD + "reached_over = \"a 2\"",
     "4: \"reached_over\" names \"a 2\", which is no board of this rack"},
    {"ReachMalformed", BOARD + "reached_over = [\"a\"]",
     "4: \"reached_over\" must name boards by type and number, such as \"mwc4a 0\""},
    {"SlotNumber", BOARD + "[[board.slot]]\nnumber = 5\nkind = \"fpga\"",
     "5: \"number\" must be a whole number from 1 to 4"},
    {"SlotTwice", SLOT + "kind = \"no-bus\"\n[[board.slot]]\nnumber = 2\nkind = \"no-bus\"",
     "7: slot 2 is described twice"},
    {"SlotKind", SLOT + "kind = \"proccessor\"",
     "6: unknown kind \"proccessor\"; did you mean \"processor\"?"},
    {"SlotKindFarOff", SLOT + "kind = \"keyboard\"",
     "6: unknown kind \"keyboard\"; known are \"fpga\", \"io\", \"other\", \"processor\", \"no-bus\""},
    {"SlotKey", SLOT + "kind = \"fpga\"\nmodle = 3",
     "7: unknown key \"modle\" in a slot; did you mean \"model\"?"},
    {"NoDevice", SLOT + "kind = \"fpga\"", "4: a slot needs \"device\""},
    {"UnknownDevice", SLOT + "kind = \"fpga\"\ndevice = \"2v3001fg676-4\"",
     "7: no module carries a \"2v3001fg676-4\"; expected was a device such as \"2v3000fg676-4\" (the nearest is \"2v3000\")"},
    {"DeviceOfNoModule", SLOT + "kind = \"fpga\"\ndevice = \"2s50eft256-6\"",
     "7: no module carries a \"2s50eft256-6\"; expected was a device such as \"2v3000fg676-4\" (the nearest is \"2s50\")"},
    {"Compression", SLOT + "kind = \"fpga\"\ndevice = \"2v40cs144-4\"\ncompression = true",
     "8: \"compression\" must be a text of 1 to 4096 characters"},
    {"TypeOfOther", SLOT + "kind = \"other\"\ntype = 4",
     "7: types 2 and 4 are those of the kinds \"fpga\" and \"io\""},
    {"InfoTooLong", SLOT + "kind = \"processor\"\ninfo = [1, 2, 3, 4, 5, 6]",
     "7: \"info\" must be a list of up to 5 whole numbers"},
    {"InfoNegative", SLOT + "kind = \"processor\"\ninfo = [-1]",
     "7: \"info\" must be a whole number from 0 to 4294967295"},
    {"SlotFaultKind", SLOT + "kind = \"other\"\ntype = 7\n[[board.slot.fault]]\nkind = \"no-replay\"",
     "9: unknown kind \"no-replay\"; did you mean \"no-reply\"?"},
    {"SlotFaultKey",
     SLOT +
         "kind = \"other\"\ntype = 7\n[[board.slot.fault]]\nkind = \"no-reply\"\nreply = \"load\"\nlength = 3",
     "11: unknown key \"length\" in a fault of a slot; known are \"kind\", \"reply\", \"nth\""},
    {"LinkFault", BOARD + "[[board.fault]]\nkind = \"drop-byte\"", "4: a fault of a board needs \"after\""},
    {"CallFaultFunction", BOARD + "[[fault]]\ncall = 1\ncode = 7\nfunction = \"MwOpen\"",
     "7: unknown function \"MwOpen\"; did you mean \"MwOpenS\"?"},
    {"CallFaultCode", BOARD + "[[fault]]\ncall = 1\ncode = 0",
     "6: \"code\" must be a whole number from 1 to 4294967295"},
};
INSTANTIATE_TEST_SUITE_P(Mistakes, RackMistake, testing::ValuesIn(mistakes),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST(RackReader, CharactersBeyondAsciiOutsideQuotesAndCommentsAreToldWithTheirLine)
{
    const std::string told =
        ": characters beyond ASCII may stand only in quotes and comments, and not behind a backslash";
    const struct {
        const char* text;
        const char* line;
    } rows[] = {
        {"[[b\u00F6ard]]", "1"},
        {"a = 1\n\u00A0b = 2", "2"},
        {"a = \u2003", "1"},
        {"a = \"x\" \u0416", "1"},
        {"a = 2\"\u0416\"", "1"},
        {"a1 = [.5'\u0416']", "1"},
        {"# \u0416\n\u0416", "2"},
        {"a = 'x\\' \u0416 # '", "1"},
        {R"(a = """x""""" Ж)", "1"},
        {"a = \"\"\"\\\n\n  \u0416\"\"\"", "3"},
        {"a = \"\"\"\\\u0416\"\"\"", "1"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(mistake_in(row.text), std::string{"rack.toml:"} + row.line + told) << row.text;
}

TEST(RackReader, CharactersBeyondAsciiMayStandInQuotesAndComments)
{
    const char* types[] = {
        R"("ü")", R"('ü\')", R"("\"ü")", R"("""ü"ü""""")", R"('''ü''\ ü''''')", "\"\"\"\\\n aü\"\"\"",
    };
    for (const char* type : types)
        EXPECT_EQ(mistake_in(std::string{"\uFEFF# \u00FC \"\n[[board]]\ntype = "} + type + "\nnumber = 0\n"),
                  "none")
            << type;
}

TEST(RackReader, SyntaxErrorsAreToldWithTheirLine)
{
    EXPECT_TRUE(mistake_in("[[board]]\ntype = \n").starts_with("rack.toml:2: "));
}

TEST(RackReader, WhatIsNoRegularFileIsRefusedAndNotWaitedFor)
{
    const std::string told = ": the rack description cannot be read: ";
    EXPECT_EQ(mistake_in_file("/no/such/rack.toml"),
              "/no/such/rack.toml" + told + "No such file or directory");
    const TemporaryFolder folder;
    const std::string fifo = (folder.path() / "rack.toml").string();
    make_fifo(fifo);
    for (const std::string& path : {fifo, std::string{ENDLESS_FILE}, folder.path().string()})
        EXPECT_EQ(mistake_in_file(path), path + told + "it is no regular file");
}

const std::string KEEPING = SLOT + "kind = \"fpga\"\ndevice = \"2v40cs144-4\"\nkeep = ";

TEST(RackReader, KeptFilesNeedAFolderThatTheUserNames)
{
    EXPECT_EQ(mistake_in(KEEPING + "\"kept\""),
              "rack.toml:8: \"keep\" needs a folder for kept files; name one in MWVIRTUAL_KEEP");
    EXPECT_EQ(mistake_in(KEEPING + "\"kept\"", "folder"), "none");
}

TEST(RackReader, KeptFilesHavePlainNames)
{
    for (const char* name : {"/tmp/kept", "a/b", "../kept", ".", "..", "kept/"})
        EXPECT_EQ(mistake_in(KEEPING + '"' + name + '"', "folder"),
                  "rack.toml:8: \"keep\" must be a plain file name, without folders");
    for (const std::string& name : {std::string{}, std::string(256, 'x')})
        EXPECT_EQ(mistake_in(KEEPING + '"' + name + '"'),
                  "rack.toml:8: \"keep\" must be a text of 1 to 255 characters");
    EXPECT_EQ(mistake_in(KEEPING + "\"..kept.bin\"", "folder"), "none");
}

std::string content_of(const std::string& path)
{
    std::ifstream file{path};
    return {std::istreambuf_iterator<char>{file}, {}};
}

TEST(RackReader, TheExampleRacksAreWellFormedAndStandInTheDocumentAsTheyAre)
{
    const std::string page = content_of(DOCS "/virtual-carrier.md");
    for (const char* name : {"builtin.toml", "slow.toml", "faults.toml"}) {
        const std::string path = std::string{DOCS "/racks/"} + name;
        EXPECT_EQ(mistake_in_file(path), "none");
        EXPECT_NE(page.find("```toml\n" + content_of(path) + "```"), std::string::npos) << name;
    }
    EXPECT_EQ(Carrier::builtin_rack(), content_of(DOCS "/racks/builtin.toml"));
}

} // namespace
