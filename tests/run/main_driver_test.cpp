// SPDX-License-Identifier: Apache-2.0
// One run: the conversion or configuration that the session asks for.
#include "support/bitstreams.h"
#include "support/row_names.h"
#include "support/run_fixture.h"

#include <ostream>

// The driver with its steps, so that each can be taken without those before it. The library's own copy stays
// out of this program.
#include "run/main_driver.cpp" // NOLINT(bugprone-suspicious-include)

namespace
{
class MainDriver : public RunFixture
{
protected:
    MainDriver() { RbtFile{Bytes(16, 0xA5)}.write(); }
};

constexpr char WHICH_BOARD[] = "What board do you want to open (eg mwc3a, mwc4a)? ";

/// Where board type and number come from. The platform has no boards, so that each run ends with error 9201,
/// which names the type and the number that were settled.
struct Source {
    const char* what;
    const char* mwapiksb; ///< null when it is not set
    const char* mwapijtag;
    std::vector<std::string> options;
    std::vector<std::string> answers;
    int number;
    const char* text;
    const char* console;

    friend void PrintTo(const Source& row, std::ostream* out) { *out << row.what; }
};

class BoardSource : public MainDriver, public testing::WithParamInterface<Source>
{
};

TEST_P(BoardSource, SettlesTheBoard)
{
    const Source& row = GetParam();
    if (row.mwapiksb != nullptr)
        mwapiksb.set(row.mwapiksb);
    if (row.mwapijtag != nullptr)
        mwapijtag.set(row.mwapijtag);
    for (const std::string& text : row.answers)
        answer(text);
    std::vector<std::string> arguments{"KVN_FPGA", "-fdesign"};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    Arguments line{arguments};
    EXPECT_EQ(result(session.kvn_fpga(line.argc(), line.argv())), Fails(row.number, row.text));
    EXPECT_EQ(console_transcript(), row.console);
    // The bus is not touched before type and number are known to be usable.
    EXPECT_EQ(bus().empty(), row.number != 9201);
}

INSTANTIATE_TEST_SUITE_P(
    Options, BoardSource,
    testing::Values(Source{"both given: the environment is not read",
                           "mwc9a 9",
                           nullptr,
                           {"-v", "-dmwc4a", "-b1"},
                           {},
                           9201,
                           "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (api 0x1001).",
                           "\n"},
                    Source{"both given, and no environment",
                           nullptr,
                           nullptr,
                           {"-v", "-dmwc4a", "-b1"},
                           {},
                           9201,
                           "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (api 0x1001).",
                           "\n"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Environment, BoardSource,
    testing::Values(
        Source{"blanks and a tab around the words",
               "  mwc4a\t3",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (api 0x1001).",
               "\n"},
        Source{"the same type in capitals gives its number",
               "MWC4A 2",
               nullptr,
               {"-u", "-dmwc4a"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 2\" (api 0x1001).",
               "\n"},
        Source{"another type gives no number",
               "MWC4A 2",
               nullptr,
               {"-u", "-dmwc3a"},
               {},
               9075,
               "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
               "\n"},
        Source{"another type: the user is asked",
               "MWC4A 2",
               nullptr,
               {"-dmwc3a"},
               {"5"},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc3a 5\" (api 0x1001).",
               "\n?line Board mwc3a, but what board number? \n! 5\n"},
        Source{"the second variable alone",
               nullptr,
               "mwc3a 4",
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc3a 4\" (api 0x1001).",
               "\n"},
        Source{"the first variable before the second",
               "mwc4a 1",
               "mwc3a 4",
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (api 0x1001).",
               "\n"},
        Source{"a number given, the type from the variable",
               "mwc4a 3",
               nullptr,
               {"-u", "-b7"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 7\" (api 0x1001).",
               "\n"},
        Source{"the variable's word is the beginning of the type given",
               "MW 2",
               nullptr,
               {"-u", "-dmwc4a"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 2\" (api 0x1001).",
               "\n"},
        Source{"the type given is the beginning of the variable's word",
               "mwc4a 2",
               nullptr,
               {"-u", "-dmw"},
               {},
               9075,
               "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
               "\n"},
        Source{"more blanks and a third word",
               "mwc4a \t 12 x",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 12\" (api 0x1001).",
               "\n"},
        Source{"digits up to the first other character",
               "mwc4a +3x",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (api 0x1001).",
               "\n"},
        Source{"no digits give 0",
               "mwc4a x",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (api 0x1001).",
               "\n"},
        Source{"nothing else separates words",
               "mwc4a,3\n 2",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a,3\n 2\" (api 0x1001).",
               "\n"},
        Source{"a negative number",
               "mwc4a -1",
               nullptr,
               {"-u"},
               {},
               9076,
               "Error 9076. Invalid board number 65535 (should be 0..15).",
               "\n"},
        Source{"number 16",
               "mwc4a 16",
               nullptr,
               {"-u"},
               {},
               9076,
               "Error 9076. Invalid board number 16 (should be 0..15).",
               "\n"},
        Source{"65536 is 0 in 16 bits",
               "mwc4a 65536",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (api 0x1001).",
               "\n"},
        Source{"a number of more than 31 digits",
               "mwc4a 00000000000000000000000000000015",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (api 0x1001).",
               "\n"},
        Source{"a word too long for the field",
               "aaaaaaaaaabbbbbbbbbbccccccccccddddd 3",
               nullptr,
               {"-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"aaaaaaaaaabbbbbbbbbbccccccccccd 3\" (api "
               "0x1001).",
               "\n"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    NoSecondWord, BoardSource,
    testing::Values(Source{"no number: error 9075",
                           "mwc4a",
                           nullptr,
                           {"-u"},
                           {},
                           9075,
                           "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
                           "\n"},
                    Source{"no number behind a blank",
                           "mwc4a  ",
                           nullptr,
                           {"-u"},
                           {},
                           9075,
                           "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
                           "\n"},
                    Source{"no number: the user is asked",
                           "mwc4a",
                           nullptr,
                           {},
                           {"2"},
                           9201,
                           "Error 9201. Cannot open KSB device on board \"mwc4a 2\" (api 0x1001).",
                           "\n?line Board mwc4a, but what board number? \n! 2\n"},
                    Source{"an empty variable is set all the same",
                           "",
                           "mwc4a 3",
                           {"-u"},
                           {},
                           9075,
                           "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
                           "\n"},
                    Source{"so is one of blanks",
                           " \t ",
                           "mwc4a 3",
                           {"-u", "-b1"},
                           {},
                           9201,
                           "Error 9201. Cannot open KSB device on board \" 1\" (api 0x1001).",
                           "\n"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Verbose, BoardSource,
    testing::Values(
        Source{"nothing set",
               nullptr,
               nullptr,
               {"-v", "-u"},
               {},
               9074,
               "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.",
               "\n| No MWAPIKSB variable found, using MWAPIJTAG.\\n\n| No MWAPIJTAG variable found.\\n\n"},
        Source{"the second variable set",
               nullptr,
               "mwc4a 3",
               {"-v", "-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (api 0x1001).",
               R"(
| No MWAPIKSB variable found, using MWAPIJTAG.\n
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\n
)"},
        Source{"the first variable set",
               "mwc4a 3",
               nullptr,
               {"-v", "-u"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (api 0x1001).",
               R"(
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\n
)"},
        Source{"the type given",
               "mwc4a 3",
               nullptr,
               {"-v", "-u", "-dMWC4A"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"MWC4A 3\" (api 0x1001).",
               "\n| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\\n\n"},
        Source{"the number given",
               "mwc4a 3",
               nullptr,
               {"-v", "-u", "-b5"},
               {},
               9201,
               "Error 9201. Cannot open KSB device on board \"mwc4a 5\" (api 0x1001).",
               "\n| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\\n\n"},
        Source{"a negative number is shown as it is kept",
               "mwc4a -1",
               nullptr,
               {"-v", "-u"},
               {},
               9076,
               "Error 9076. Invalid board number 65535 (should be 0..15).",
               R"(
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 65535 from MWAPIKSB or MWAPIJTAG.\n
)"}),
    RowName{});

INSTANTIATE_TEST_SUITE_P(
    Questions, BoardSource,
    testing::Values(Source{"no type and no questions",
                           nullptr,
                           nullptr,
                           {"-u", "-b1"},
                           {},
                           9074,
                           "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.",
                           "\n"},
                    Source{"no number and no questions",
                           nullptr,
                           nullptr,
                           {"-u", "-dmwc4a"},
                           {},
                           9075,
                           "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.",
                           "\n"},
                    Source{"both asked for",
                           nullptr,
                           nullptr,
                           {},
                           {"mwc4a", "3"},
                           9201,
                           "Error 9201. Cannot open KSB device on board \"mwc4a 3\" (api 0x1001).",
                           R"(
?line What board do you want to open (eg mwc3a, mwc4a)? 
! mwc4a
?line Board mwc4a, but what board number? 
! 3
)"},
                    Source{"only the type asked for",
                           nullptr,
                           nullptr,
                           {"-b1"},
                           {"mwc4a"},
                           9201,
                           "Error 9201. Cannot open KSB device on board \"mwc4a 1\" (api 0x1001).",
                           "\n?line What board do you want to open (eg mwc3a, mwc4a)? \n! mwc4a\n"},
                    Source{"an empty type is asked for once",
                           nullptr,
                           nullptr,
                           {},
                           {"", ""},
                           9201,
                           "Error 9201. Cannot open KSB device on board \" 0\" (api 0x1001).",
                           R"(
?line What board do you want to open (eg mwc3a, mwc4a)? 
! 
?line Board , but what board number? 
! 
)"},
                    Source{"a negative number typed",
                           nullptr,
                           nullptr,
                           {"-dmwc4a"},
                           {"-1"},
                           9076,
                           "Error 9076. Invalid board number 65535 (should be 0..15).",
                           "\n?line Board mwc4a, but what board number? \n! -1\n"},
                    Source{"number 16 typed",
                           nullptr,
                           nullptr,
                           {"-dmwc4a"},
                           {"16"},
                           9076,
                           "Error 9076. Invalid board number 16 (should be 0..15).",
                           "\n?line Board mwc4a, but what board number? \n! 16\n"}),
    RowName{});

// The slot's address is formed as soon as the number of the board is known.
struct Address {
    const char* what;
    const char* mwapiksb;
    std::vector<std::string> options;
    std::vector<std::string> answers;
    int address;
};

TEST_F(MainDriver, FormsTheSlotAddressFromEverySourceOfTheNumberBeforeError9201)
{
    const Address rows[] = {
        {"option", nullptr, {"-dmwc4a", "-b3", "-s2"}, {}, 0x32},
        {"option and target board", nullptr, {"-dmwc4a", "-b3", "-s2", "-t5"}, {}, 0x52},
        {"environment", "mwc4a 7", {"-s2"}, {}, 0x72},
        {"environment and target board", "mwc4a 7", {"-s2", "-t5"}, {}, 0x52},
        {"answer", nullptr, {"-dmwc4a", "-s1"}, {"9"}, 0x91},
        {"answer and target board", nullptr, {"-dmwc4a", "-s1", "-t0"}, {"9"}, 0x01},
    };
    for (const Address& row : rows) {
        if (row.mwapiksb != nullptr)
            mwapiksb.set(row.mwapiksb);
        else
            mwapiksb.unset();
        for (const std::string& text : row.answers)
            answer(text);
        std::vector<std::string> arguments{"KVN_FPGA", "-fdesign"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        Arguments line{arguments};
        EXPECT_EQ(session.kvn_fpga(line.argc(), line.argv()), 9201) << row.what;
        EXPECT_EQ(session.slot_address, row.address) << row.what;
    }
}

TEST_F(MainDriver, DirectEntryKeepsItsAddressWhateverTheBoardOfError9201)
{
    EXPECT_EQ(session.kvn_fpga_board("mwc4a", 3, 0x12, "design", 0, 0), 9201);
    EXPECT_EQ(session.slot_address, 0x12);
}

TEST_F(MainDriver, Error9076BeforeTheBusIsTouchedForADirectEntry)
{
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 16, 0x12, "design", 0, 0)),
              Fails(9076, "Error 9076. Invalid board number 16 (should be 0..15)."));
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", -1, 0x12, "design", 0, 0)),
              Fails(9076, "Error 9076. Invalid board number 65535 (should be 0..15)."));
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(MainDriver, Error9077AfterTheBusWasOpenedWhichIsClosedAgain)
{
    platform.board("mwc4a", 0);
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 0, 5, "design", 0, 1)),
              Fails(9077, "Error 9077. Invalid slot number 5 (should be 1,2,3 or 4)."));
    EXPECT_EQ(transcript(), R"(
* OpenS "mwc4a" 0 "ksb"
* InitIoStatus
* InitIoStatus
* Close
)");
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 0, 0x1F, "design", 0, 0)),
              Fails(9077, "Error 9077. Invalid slot number 15 (should be 1,2,3 or 4)."));
}

TEST_F(MainDriver, Error9041OfTheFileComesBeforeAnythingElse)
{
    EXPECT_EQ(run({"-fmissing", "-v"}),
              Fails(9041, "Error 9041. Cannot find/open missing.[rbt/mcb/bit] file."));
    EXPECT_EQ(transcript(), "\n");
}

// Conversions never touch the hardware, ask for a board or read the environment.
TEST_F(MainDriver, CompressesAnRbtFile)
{
    EXPECT_EQ(run({"-c", "-fdesign", "-v"}), Succeeds());
    EXPECT_EQ(bus_transcript(), "\n");
    EXPECT_EQ(read_file("design.mcb").size(), 522U + 2);
}

TEST_F(MainDriver, CompressesABitFile)
{
    BitFile{Bytes(16, 0xA5)}.write("other.bit");
    EXPECT_EQ(run({"-c", "-fother.bit"}), Succeeds());
    EXPECT_EQ(bus_transcript(), "\n");
    EXPECT_EQ(read_file("other.mcb").substr(522), std::string("\x10\xA5", 2));
}

TEST_F(MainDriver, ExpandsAnMcbFile)
{
    McbFile{Bytes(16, 0xA5)}.write("other.mcb");
    EXPECT_EQ(run({"-r", "-fother"}), Succeeds());
    EXPECT_EQ(bus_transcript(), "\n");
    EXPECT_TRUE(read_file("other.rbt").ends_with("10100101101001011010010110100101\n"));
}

TEST_F(MainDriver, CompressesToError9043OrError9070WhenBothConversionsAreAskedForByName)
{
    // The file selection refuses ".rbt" when expanding, so that only a name without extension gets through,
    // and that is looked for as an MCB file.
    EXPECT_EQ(run({"-c", "-r", "-fdesign.rbt"}),
              Fails(9043, "Error 9043. Sorry, you cannot expand a .rbt file."));
    McbFile{}.write();
    EXPECT_EQ(run({"-c", "-r", "-fdesign"}),
              Fails(9070, "Error 9070: You cannot compress a compressed (.mcb) file."));
}

TEST_F(MainDriver, Error9070WhenTheUserTakesAnMcbFileForABitFileToCompress)
{
    McbFile{}.write("other.mcb");
    answer("y");
    EXPECT_EQ(run({"-c", "-fother.bit"}),
              Fails(9070, "Error 9070: You cannot compress a compressed (.mcb) file."));
}

TEST_F(MainDriver, Error9054BeforeExpandOfABitFileGetsHere)
{
    BitFile{}.write("other.bit");
    EXPECT_EQ(run({"-r", "-fother.bit"}),
              Fails(9054, "Error 9054. Sorry, expanding a .bit file is not supported."));
}

/// What follows a file selection that chose what the test says, however unlikely.
using AfterSelection = MainDriver;

TEST_F(AfterSelection, Error9070WhenAnMcbFileIsToBeCompressed)
{
    session.file_is_mcb = 1;
    EXPECT_EQ(result(convert_to_mcb(session)),
              Fails(9070, "Error 9070: You cannot compress a compressed (.mcb) file."));
}

TEST_F(AfterSelection, Error9071WhenNothingIsToBeCompressed)
{
    EXPECT_EQ(result(convert_to_mcb(session)), Fails(9071, "Error 9071: Internal error."));
}

TEST_F(AfterSelection, Error9072WhenAnRbtFileIsToBeExpanded)
{
    session.file_is_rbt = 1;
    EXPECT_EQ(result(convert_to_rbt(session)), Fails(9072, "Error 9072: You cannot expand a .rbt file."));
}

TEST_F(AfterSelection, Error9073WhenABitFileOrNothingIsToBeExpanded)
{
    EXPECT_EQ(result(convert_to_rbt(session)), Fails(9073, "Error 9073: Internal error."));
    session.file_is_bit = 1;
    EXPECT_EQ(result(convert_to_rbt(session)), Fails(9073, "Error 9073: Internal error."));
}

TEST_F(AfterSelection, LoadsNothingWhenNoFileIsSelected)
{
    platform.board("mwc4a", 0).slot(1, fpga_module(3));
    session.board_type_given = 1;
    session.board_number_given = 1;
    session.slot_given = 1;
    session.slot = 1;
    session.slot_address = 1;
    std::snprintf(session.board_type, sizeof session.board_type, "mwc4a");
    EXPECT_EQ(result(configure(session)), Succeeds());
    EXPECT_EQ(bus_transcript(), R"(
OpenS "mwc4a" 0 "ksb"
InitIoStatus
InitIoStatus
GetBoardInfo "mwc4a" 0
SendMessageEx type 1 board 0 slot 1 length 0 timeout 5000
ReceiveMessageEx board 0 slot 1 size 30 timeout 5000
Close
)");
}

TEST_F(MainDriver, SearchesWhenNoSlotIsGivenAndKeepsTheWholeAddress)
{
    platform.board("mwc4a", 2).slot(3, fpga_module(4).accepts_compressed());
    answer("y");
    EXPECT_EQ(run({"-v", "-u", "-fdesign", "-dmwc4a", "-b2"}), Succeeds());
    EXPECT_EQ(session.slot_address, 0x23);
    EXPECT_EQ(session.slot, 3);
    EXPECT_EQ(transcript(), R"(
* OpenS "mwc4a" 2 "ksb"
* InitIoStatus
* InitIoStatus
| Searching for KAVRIN-FPGA and KAVRIN-IO modules\n
* GetBoardInfo "mwc4a" 2
| Module type 0.\n
* GetBoardInfo "mwc4a" 2
| Module type 0.\n
* GetBoardInfo "mwc4a" 2
| Module type ffffffff.\n
* SendMessageEx type 1 board 2 slot 3 length 0 timeout 5000
* ReceiveMessageEx board 2 slot 3 size 30 timeout 5000
| Second module type 2.\n
* SendMessage type 11 slot 3 length 0 timeout 5000
* ReceiveMessage slot 3 size 30 timeout 5000
| \nA KAVRIN-FPGA4 version 1 has been found in slot 
| 3 of board 2.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
?yn Is this the module you want to load (y/n)? 
! y
| Configuring the module in slot 0x23, board 2 with bitstream\n
| <design.rbt>.\n
| Checking header section of the file <design.rbt>.\n
| The bitstream is for a 2v3000fg676 device.\n
| The bitstream contains 128 configuration bits.\n
* StartSendMessageEx board 2 slot 3 timeout 5000
| Sending in compressed format.\n
* SendMessageDataEx 0D 15 timeout 5000
* SendMessageDataEx 10 A5 timeout 5000
| \r% Done: 100\n
| The bitstream has been downloaded.\n
* EndOfSendMessageEx timeout 5000
* StartReceiveMessageEx timeout 5000
* ReceiveMessageDataEx size 2 timeout 5000
* EndOfReceiveMessageEx timeout 5000
| Configuration was successful.\n
* Close
)");
}

// The mark of Virtex-2 stays set until the next run.
TEST_F(MainDriver, AnOlderModuleAfterARefusedVirtex2IsSentItsTail)
{
    const Bytes data = sample_data(32);
    RbtFile{data}.device("v300pq240").write("older.rbt");
    platform.board("mwc4a", 0).slot(1, fpga_module(3));
    Module& older = platform.board("mwc4a", 0).slot(2, fpga_module(3).device("v300pq240-5"));
    answer("n");
    answer("y");
    EXPECT_EQ(run({"-u", "-folder", "-dmwc4a", "-b0"}), Succeeds());
    EXPECT_EQ(older.received(), data);
    EXPECT_EQ(run({"-u", "-folder", "-dmwc4a", "-b0", "-s2"}), Succeeds());
    EXPECT_EQ(older.received(), Bytes(data.begin(), data.end() - 16)) << "by itself: without the last words";
}

TEST_F(MainDriver, Error9096ClosesTheBus)
{
    platform.board("mwc4a", 0);
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0"}),
              Fails(9096, "Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured."));
    EXPECT_EQ(bus().back(), "Close");
}

TEST_F(MainDriver, LoadsAFileOfEachKind)
{
    Module& module = platform.board("mwc4a", 0).slot(1, fpga_module(3));
    const Bytes data = sample_data(16);
    RbtFile{data}.write("a.rbt");
    BitFile{data}.write("b.bit");
    McbFile{data}.write("c.mcb");
    for (const char* name : {"-fa.rbt", "-fb.bit", "-fc.mcb", "-fa", "-fb", "-fc"}) {
        EXPECT_EQ(run({"-u", name, "-dmwc4a", "-b0", "-s1"}), Succeeds()) << name;
        EXPECT_EQ(hex(module.received()), hex(data)) << name;
    }
}

TEST_F(MainDriver, ReturnsTheLoadersError9118AndClosesTheBus)
{
    platform.board("mwc4a", 0).slot(1, fpga_module(3)).status = 4;
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}),
              Fails(9118, "Error 9118. Configuration was unsuccessful (4)."));
    EXPECT_EQ(bus().back(), "Close");
}

/// The error of each platform call of a run.
constexpr int call_errors[] = {9201, 9202, 9203,             // opening
                               9190, 9060, 9061, 9223, 9224, // identification
                               9105, 9106, 9122, 9114, 9115, 9116, 9117};

/// A run of which a platform call fails; which one, from 1.
class MainDriverCall : public MainDriver, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(MainDriverCall, ThatFailsLeavesTheBusClosed)
{
    const int number = call_errors[GetParam() - 1];
    platform.board("mwc4a", 0).slot(1, fpga_module(4).accepts_compressed());
    platform.fail_call(static_cast<int>(GetParam()));
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}).number, number);
    const auto calls = bus();
    EXPECT_EQ(calls.back(), number == 9201 ? "Err2Text 0x77" : "Close");
    EXPECT_EQ(platform.open_handles(), 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, MainDriverCall, testing::Range<std::size_t>(1, std::size(call_errors) + 1),
                         [](const auto& row) {
                             return "Error" + std::to_string(call_errors[row.param - 1]) + "Call" +
                                    std::to_string(row.param);
                         });

TEST_F(MainDriver, MakesNoCallBesideThoseThatHaveAnErrorAndClose)
{
    platform.board("mwc4a", 0).slot(1, fpga_module(4).accepts_compressed());
    platform.fail_call(static_cast<int>(std::size(call_errors)) + 1);
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}), Succeeds());
}

TEST_F(MainDriver, Error9201ClosesAHandleThatTheFailedOpeningLeft)
{
    platform.board("mwc4a", 0);
    platform.failing_open_stores_handle = true;
    platform.fail_call(1);
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}),
              Fails(9201, "Error 9201. Cannot open KSB device on board \"mwc4a 0\" (api 0x77)."));
    EXPECT_EQ(bus().back(), "Close");
}

TEST_F(MainDriver, EndsWithError9201WhenTheInputOfTheQuestionsHasEnded)
{
    session.kvn_fpga_set_userfie(nullptr, 1);
    write_file("input");
    FILE* const input_before = stdin;
    FILE* const output_before = stdout;
    stdin = std::fopen("input", "r");
    stdout = std::fopen("output", "w");
    const Result outcome = run({"-fdesign"});
    std::fclose(std::exchange(stdin, input_before));
    std::fclose(std::exchange(stdout, output_before));
    // An empty type and number 0.
    EXPECT_EQ(outcome, Fails(9201, "Error 9201. Cannot open KSB device on board \" 0\" (api 0x1001)."));
    EXPECT_EQ(read_file("output"), std::string{WHICH_BOARD} + "\n> Board , but what board number? \n> ");
}
} // namespace
