// SPDX-License-Identifier: Apache-2.0
// One run: the conversion or configuration that the session asks for.
#include "support/bitstreams.h"
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
    std::string options;
    std::string text;
    const char* answers = ""; ///< a line each
    const char* console = "\n";

    friend void PrintTo(const Source& row, std::ostream* out) { *out << row.what; }
};

using BoardSource = With<MainDriver, Source>;

TEST_P(BoardSource, SettlesTheBoard)
{
    const Source& row = GetParam();
    if (row.mwapiksb != nullptr)
        mwapiksb.set(row.mwapiksb);
    if (row.mwapijtag != nullptr)
        mwapijtag.set(row.mwapijtag);
    for (const std::string& text : split(row.answers, '\n'))
        answer(text);
    EXPECT_EQ(run(split("-fdesign " + row.options, ' ')), Fails(row.text));
    EXPECT_EQ(console_transcript(), row.console);
    // The bus is not touched before type and number are known to be usable.
    EXPECT_EQ(bus().empty(), stated_number(row.text) != 9201);
}

constexpr char NO_TYPE[] = "Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type.";
constexpr char NO_NUMBER[] = "Error 9075. Please define MWAPIKSB and MWAPIJTAG, or select a board number.";

std::string invalid_number(int number)
{
    return "Error 9076. Invalid board number " + std::to_string(number) + " (should be 0..15).";
}

std::string cannot_open(const std::string& board)
{
    return "Error 9201. Cannot open KSB device on board \"" + board + "\" (api 0x1001).";
}

const Source sources[] = {
    // Options.
    {"both given: the environment is not read", "mwc9a 9", nullptr, "-v -dmwc4a -b1", cannot_open("mwc4a 1")},
    {"both given, and no environment", nullptr, nullptr, "-v -dmwc4a -b1", cannot_open("mwc4a 1")},
    // The environment.
    {"blanks and a tab around the words", "  mwc4a\t3", nullptr, "-u", cannot_open("mwc4a 3")},
    {"the same type in capitals gives its number", "MWC4A 2", nullptr, "-u -dmwc4a", cannot_open("mwc4a 2")},
    {"another type gives no number", "MWC4A 2", nullptr, "-u -dmwc3a", NO_NUMBER},
    {"another type: the user is asked", "MWC4A 2", nullptr, "-dmwc3a", cannot_open("mwc3a 5"), "5\n",
     "\n?line Board mwc3a, but what board number? \n! 5\n"},
    {"the second variable alone", nullptr, "mwc3a 4", "-u", cannot_open("mwc3a 4")},
    {"the first variable before the second", "mwc4a 1", "mwc3a 4", "-u", cannot_open("mwc4a 1")},
    {"a number given, the type from the variable", "mwc4a 3", nullptr, "-u -b7", cannot_open("mwc4a 7")},
    {"the variable's word is the beginning of the type given", "MW 2", nullptr, "-u -dmwc4a",
     cannot_open("mwc4a 2")},
    {"the type given is the beginning of the variable's word", "mwc4a 2", nullptr, "-u -dmw", NO_NUMBER},
    {"more blanks and a third word", "mwc4a \t 12 x", nullptr, "-u", cannot_open("mwc4a 12")},
    {"digits up to the first other character", "mwc4a +3x", nullptr, "-u", cannot_open("mwc4a 3")},
    {"no digits give 0", "mwc4a x", nullptr, "-u", cannot_open("mwc4a 0")},
    {"nothing else separates words", "mwc4a,3\n 2", nullptr, "-u", cannot_open("mwc4a,3\n 2")},
    {"a negative number", "mwc4a -1", nullptr, "-u", invalid_number(65535)},
    {"number 16", "mwc4a 16", nullptr, "-u", invalid_number(16)},
    {"65536 is 0 in 16 bits", "mwc4a 65536", nullptr, "-u", cannot_open("mwc4a 0")},
    {"a number of more than 31 digits", "mwc4a 00000000000000000000000000000015", nullptr, "-u",
     cannot_open("mwc4a 1")},
    {"a word too long for the field", "aaaaaaaaaabbbbbbbbbbccccccccccddddd 3", nullptr, "-u",
     cannot_open("aaaaaaaaaabbbbbbbbbbccccccccccd 3")},
    // No second word in a variable.
    {"no number: error 9075", "mwc4a", nullptr, "-u", NO_NUMBER},
    {"no number behind a blank", "mwc4a  ", nullptr, "-u", NO_NUMBER},
    {"no number: the user is asked", "mwc4a", nullptr, "", cannot_open("mwc4a 2"), "2\n",
     "\n?line Board mwc4a, but what board number? \n! 2\n"},
    {"an empty variable is set all the same", "", "mwc4a 3", "-u", NO_NUMBER},
    {"so is one of blanks", " \t ", "mwc4a 3", "-u -b1", cannot_open(" 1")},
    // With -v.
    {"nothing set", nullptr, nullptr, "-v -u", NO_TYPE, "",
     "\n| No MWAPIKSB variable found, using MWAPIJTAG.\\n\n| No MWAPIJTAG variable found.\\n\n"},
    {"the second variable set", nullptr, "mwc4a 3", "-v -u", cannot_open("mwc4a 3"), "", R"(
| No MWAPIKSB variable found, using MWAPIJTAG.\n
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\n
)"},
    {"the first variable set", "mwc4a 3", nullptr, "-v -u", cannot_open("mwc4a 3"), "", R"(
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\n
)"},
    {"the type given", "mwc4a 3", nullptr, "-v -u -dMWC4A", cannot_open("MWC4A 3"), "",
     "\n| No board (-b) defined. Use boardno 3 from MWAPIKSB or MWAPIJTAG.\\n\n"},
    {"the number given", "mwc4a 3", nullptr, "-v -u -b5", cannot_open("mwc4a 5"), "",
     "\n| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\\n\n"},
    {"a negative number is shown as it is kept", "mwc4a -1", nullptr, "-v -u", invalid_number(65535), "", R"(
| No boardtype (-d) defined. Use 'mwc4a' from MWAPIKSB or MWAPIJTAG..\n
| No board (-b) defined. Use boardno 65535 from MWAPIKSB or MWAPIJTAG.\n
)"},
    // Questions.
    {"no type and no questions", nullptr, nullptr, "-u -b1", NO_TYPE},
    {"no number and no questions", nullptr, nullptr, "-u -dmwc4a", NO_NUMBER},
    {"both asked for", nullptr, nullptr, "", cannot_open("mwc4a 3"), "mwc4a\n3\n", R"(
?line What board do you want to open (eg mwc3a, mwc4a)? 
! mwc4a
?line Board mwc4a, but what board number? 
! 3
)"},
    {"only the type asked for", nullptr, nullptr, "-b1", cannot_open("mwc4a 1"), "mwc4a\n",
     "\n?line What board do you want to open (eg mwc3a, mwc4a)? \n! mwc4a\n"},
    {"an empty type is asked for once", nullptr, nullptr, "", cannot_open(" 0"), "\n\n", R"(
?line What board do you want to open (eg mwc3a, mwc4a)? 
! 
?line Board , but what board number? 
! 
)"},
    {"a negative number typed", nullptr, nullptr, "-dmwc4a", invalid_number(65535), "-1\n",
     "\n?line Board mwc4a, but what board number? \n! -1\n"},
    {"number 16 typed", nullptr, nullptr, "-dmwc4a", invalid_number(16), "16\n",
     "\n?line Board mwc4a, but what board number? \n! 16\n"},
};

INSTANTIATE_TEST_SUITE_P(Runs, BoardSource, testing::ValuesIn(sources), RowName{});

// The slot's address is formed as soon as the number of the board is known.
struct Address {
    const char* what;
    const char* mwapiksb;
    std::string options;
    const char* answers;
    int address;
};

TEST_F(MainDriver, FormsTheSlotAddressFromEverySourceOfTheNumberBeforeError9201)
{
    const Address rows[] = {
        {"option", nullptr, "-dmwc4a -b3 -s2", "", 0x32},
        {"option and target board", nullptr, "-dmwc4a -b3 -s2 -t5", "", 0x52},
        {"environment", "mwc4a 7", "-s2", "", 0x72},
        {"environment and target board", "mwc4a 7", "-s2 -t5", "", 0x52},
        {"answer", nullptr, "-dmwc4a -s1", "9\n", 0x91},
        {"answer and target board", nullptr, "-dmwc4a -s1 -t0", "9\n", 0x01},
    };
    for (const Address& row : rows) {
        if (row.mwapiksb != nullptr)
            mwapiksb.set(row.mwapiksb);
        else
            mwapiksb.unset();
        for (const std::string& text : split(row.answers, '\n'))
            answer(text);
        EXPECT_EQ(run(split("-fdesign " + row.options, ' ')).number, 9201) << row.what;
        EXPECT_EQ(session.slot_address, row.address) << row.what;
    }
}

TEST_F(MainDriver, Error9076BeforeTheBusIsTouchedForADirectEntry)
{
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 16, 0x12, "design", 0, 0)),
              Fails("Error 9076. Invalid board number 16 (should be 0..15)."));
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", -1, 0x12, "design", 0, 0)),
              Fails("Error 9076. Invalid board number 65535 (should be 0..15)."));
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(MainDriver, Error9077AfterTheBusWasOpenedWhichIsClosedAgain)
{
    platform.board("mwc4a", 0);
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 0, 5, "design", 0, 1)),
              Fails("Error 9077. Invalid slot number 5 (should be 1,2,3 or 4)."));
    EXPECT_EQ(transcript(), R"(
* OpenS "mwc4a" 0 "ksb"
* InitIoStatus
* InitIoStatus
* Close
)");
    EXPECT_EQ(result(session.kvn_fpga_board("mwc4a", 0, 0x1F, "design", 0, 0)),
              Fails("Error 9077. Invalid slot number 15 (should be 1,2,3 or 4)."));
}

TEST_F(MainDriver, Error9041OfTheFileComesBeforeAnythingElse)
{
    EXPECT_EQ(run({"-fmissing", "-v"}), Fails("Error 9041. Cannot find/open missing.[rbt/mcb/bit] file."));
    EXPECT_EQ(transcript(), "\n");
}

// Conversions never touch the hardware, ask for a board or read the environment.
TEST_F(MainDriver, CompressesRbtAndBitFilesAndExpandsMcbFiles)
{
    EXPECT_EQ(run({"-c", "-fdesign", "-v"}), Succeeds());
    EXPECT_EQ(read_file("design.mcb").size(), 522U + 2);
    BitFile{Bytes(16, 0xA5)}.write("other.bit");
    EXPECT_EQ(run({"-c", "-fother.bit"}), Succeeds());
    EXPECT_EQ(read_file("other.mcb").substr(522), std::string("\x10\xA5", 2));
    EXPECT_EQ(run({"-r", "-fother"}), Succeeds());
    EXPECT_TRUE(read_file("other.rbt").ends_with("10100101101001011010010110100101\n"));
    EXPECT_EQ(bus_transcript(), "\n");
}

TEST_F(MainDriver, CompressesToError9043OrError9070WhenBothConversionsAreAskedForByName)
{
    // The file selection refuses ".rbt" when expanding, so that only a name without extension gets through,
    // and that is looked for as an MCB file.
    EXPECT_EQ(run({"-c", "-r", "-fdesign.rbt"}), Fails("Error 9043. Sorry, you cannot expand a .rbt file."));
    McbFile{}.write();
    EXPECT_EQ(run({"-c", "-r", "-fdesign"}),
              Fails("Error 9070: You cannot compress a compressed (.mcb) file."));
}

TEST_F(MainDriver, Error9070WhenTheUserTakesAnMcbFileForABitFileToCompress)
{
    McbFile{}.write("other.mcb");
    answer("y");
    EXPECT_EQ(run({"-c", "-fother.bit"}), Fails("Error 9070: You cannot compress a compressed (.mcb) file."));
}

TEST_F(MainDriver, Error9054BeforeExpandOfABitFileGetsHere)
{
    BitFile{}.write("other.bit");
    EXPECT_EQ(run({"-r", "-fother.bit"}),
              Fails("Error 9054. Sorry, expanding a .bit file is not supported."));
}

/// What follows a file selection that chose what the test says, however unlikely.
using AfterSelection = MainDriver;

TEST_F(AfterSelection, Error9070Or9071Or9072Or9073WhenTheFileDoesNotSuitTheConversion)
{
    EXPECT_EQ(result(convert_to_mcb(session)), Fails("Error 9071: Internal error."));
    EXPECT_EQ(result(convert_to_rbt(session)), Fails("Error 9073: Internal error."));
    session.file_is_bit = 1;
    EXPECT_EQ(result(convert_to_rbt(session)), Fails("Error 9073: Internal error."));
    session.file_is_bit = 0;
    session.file_is_mcb = 1;
    EXPECT_EQ(result(convert_to_mcb(session)),
              Fails("Error 9070: You cannot compress a compressed (.mcb) file."));
    session.file_is_mcb = 0;
    session.file_is_rbt = 1;
    EXPECT_EQ(result(convert_to_rbt(session)), Fails("Error 9072: You cannot expand a .rbt file."));
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
              Fails("Error 9096. No KAVRIN-FPGA or KAVRIN-IO modules were configured."));
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
    platform.board("mwc4a", 0).slot(1, fpga_module(3)).verdict[0] = 4;
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}),
              Fails("Error 9118. Configuration was unsuccessful (4)."));
    EXPECT_EQ(bus().back(), "Close");
}

TEST_F(MainDriver, Error9201ClosesAHandleThatTheFailedOpeningLeft)
{
    platform.board("mwc4a", 0);
    platform.failing_open_stores_handle = true;
    platform.fail_call(1);
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}),
              Fails("Error 9201. Cannot open KSB device on board \"mwc4a 0\" (api 0x77)."));
    EXPECT_EQ(bus().back(), "Close");
}

TEST_F(MainDriver, EndsWithError9201WhenTheInputOfTheQuestionsHasEnded)
{
    session.kvn_fpga_set_userfie(nullptr, 1);
    // An empty type and number 0.
    EXPECT_EQ(output_of("",
                        [&] {
                            EXPECT_EQ(
                                run({"-fdesign"}),
                                Fails("Error 9201. Cannot open KSB device on board \" 0\" (api 0x1001)."));
                        }),
              std::string{WHICH_BOARD} + "\n> Board , but what board number? \n> ");
}
} // namespace
