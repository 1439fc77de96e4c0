// SPDX-License-Identifier: Apache-2.0
// The four ways into a run.
#include "support/bitstreams.h"
#include "support/run_fixture.h"

namespace
{
class EntryPoints : public RunFixture
{
protected:
    EntryPoints() { platform.board("mwc4a", 0); }

    Result board(const char* type, int number, int kavrinid, const char* file, int action = 0, int flags = 0)
    {
        return result(session.kvn_fpga_board(type, number, kavrinid, file, action, flags));
    }
    Result handle(MW_HANDLE* given, int kavrinid, const char* file, int action = 0, int flags = 0)
    {
        return result(session.kvn_fpga_handle(given, kavrinid, file, action, flags));
    }
};

// A whole load, from the arguments to the verdict: slot 2 of board 1, reached through board 0.
constexpr char LOAD_OF_BOARD_1_SLOT_2[] = R"(
* OpenS "mwc4a" 0 "ksb"
* InitIoStatus
* InitIoStatus
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x12 (via 'mwc4a 0')\n
* SendMessageEx type 1 board 1 slot 2 length 0 timeout 5000
* ReceiveMessageEx board 1 slot 2 size 30 timeout 5000
* SendMessageEx type 11 board 1 slot 2 length 0 timeout 5000
* ReceiveMessageEx board 1 slot 2 size 30 timeout 5000
| The module in slot 0x12 is a KAVRIN-FPGA4 version 1.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
| Checking header section of the file <design.rbt>.\n
* StartSendMessageEx board 1 slot 2 timeout 5000
| Sending in compressed format.\n
* SendMessageDataEx 0D 05 timeout 5000
* SendMessageDataEx 10 A5 timeout 5000
| \r% Done: 100\n
| The bitstream has been downloaded.\n
* EndOfSendMessageEx timeout 5000
* StartReceiveMessageEx timeout 5000
* ReceiveMessageDataEx size 2 timeout 5000
* EndOfReceiveMessageEx timeout 5000
| Configuration was successful.\n
* Close
)";

TEST_F(EntryPoints, BoardConfiguresAModuleOfAnotherBoardSilentlyAndWithoutQuestions)
{
    platform.board("mwc4b", 1).slot(2, fpga_module(4).accepts_compressed());
    RbtFile{Bytes(16, 0xA5)}.write();
    EXPECT_EQ(board("mwc4a", 0, 0x12, "design"), Succeeds());
    EXPECT_EQ(transcript(), LOAD_OF_BOARD_1_SLOT_2);
    EXPECT_EQ(session.slot, 2);
    EXPECT_EQ(session.slot_address, 0x12);
    EXPECT_STREQ(session.bitstream_file, "design.rbt");
}

TEST_F(EntryPoints, BoardAsksNothingBeforeError9044)
{
    write_file("design.mcb");
    EXPECT_EQ(board("mwc4a", 0, 0x12, "design.rbt"), Fails("Error 9044. Cannot find/open design.rbt file."));
    EXPECT_EQ(transcript(), "\n");
}

TEST_F(EntryPoints, Error9312AfterBoardAndFileAreStored)
{
    EXPECT_EQ(board("mwc4a", 3, 0x12, "design", 3, 7),
              Fails("Error 9312: kvn_fpga_board: Unknown action 3."));
    EXPECT_STREQ(session.board_type, "mwc4a");
    EXPECT_EQ(session.board_number, 3);
    EXPECT_EQ(session.slot_address, 0x12);
    EXPECT_EQ(session.slot, 2);
    EXPECT_STREQ(session.bitstream_file, "design");
    EXPECT_EQ(session.board_type_given, 1U);
    EXPECT_EQ(session.board_number_given, 1U);
    EXPECT_EQ(session.slot_given, 1U);
    EXPECT_EQ(session.file_is_rbt, 1U);
    EXPECT_EQ(session.verbose, 0U) << "the flags come after the action";
    EXPECT_EQ(board("mwc4a", 3, 0x12, "design", -1), Fails("Error 9312: kvn_fpga_board: Unknown action -1."));
}

TEST_F(EntryPoints, OpenABusOfTheirOwnWhereTheHandleIsOfAnotherDeviceOrBoard)
{
    platform.board("mwc4a", 5).slot(1, fpga_module(3));
    platform.board("mwc3a", 0).slot(1, fpga_module(3));
    RbtFile{Bytes(16, 0xA5)}.write();
    const auto expect_own_bus = [this](const Result& result, const char* opening) {
        EXPECT_EQ(result, Succeeds());
        EXPECT_EQ(session.handle_is_external, 0U);
        const auto calls = bus();
        ASSERT_GT(calls.size(), 2U);
        EXPECT_EQ(calls[0], "GetDeviceInfo on caller handle");
        EXPECT_EQ(calls[1], opening);
        EXPECT_EQ(calls.back(), "Close");
        clear_log();
    };
    for (const std::uint32_t kind : {0U, 1U, 2U, 4U, 0x10003U})
        expect_own_bus(handle(platform.caller_handle("mwc4a", 5, kind), 0x51, "design"),
                       "OpenS \"mwc4a\" 5 \"ksb\"");
    expect_own_bus(run({"-u", "-fdesign", "-dmwc3a", "-b0", "-s1"}, platform.caller_handle("mwc4a", 0)),
                   "OpenS \"mwc3a\" 0 \"ksb\"");
}

TEST_F(EntryPoints, HandleGivesABoardNumberOf16BitsBeforeError9302)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0xA55A);
    handle(given, 0x51, nullptr);
    EXPECT_EQ(session.board_number, 0xA55A);
}

TEST_F(EntryPoints, Flags7GiveAVerboseRunThatAsksAndNeverCompresses)
{
    platform.board("mwc4a", 0).slot(1, fpga_module(4).accepts_compressed());
    RbtFile{Bytes(16, 0xA5)}.write();
    EXPECT_EQ(board("mwc4a", 0, 1, "design", 0, 7), Succeeds());
    EXPECT_EQ(session.verbose, 1U);
    EXPECT_EQ(session.prompt_user, 1U);
    EXPECT_EQ(session.never_compress, 1U);
    EXPECT_EQ(transcript(), R"(
* OpenS "mwc4a" 0 "ksb"
* InitIoStatus
* InitIoStatus
| \n\nChecking for KAVRIN-FPGA and KAVRIN-IO module in slot 0x1 (via 'mwc4a 0')\n
* GetBoardInfo "mwc4a" 0
* SendMessageEx type 1 board 0 slot 1 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 1 size 30 timeout 5000
| Second module type 2.\n
* SendMessageEx type 11 board 0 slot 1 length 0 timeout 5000
* ReceiveMessageEx board 0 slot 1 size 30 timeout 5000
| The module in slot 0x1 is a KAVRIN-FPGA4 version 1.\n
| The module supports loading of compressed bitstreams.\n
| The FPGA on this module is a 2v3000 device, in an fg676 package.\n
| The FPGA speed grade is -4.\n
| Configuring the module in slot 0x1, board 0 with bitstream\n
| <design.rbt>.\n
| Checking header section of the file <design.rbt>.\n
| The bitstream is for a 2v3000fg676 device.\n
| The bitstream contains 128 configuration bits.\n
?key Press return to send configuration bitstream.
* StartSendMessageEx board 0 slot 1 timeout 5000
* SendMessageDataEx 03 05 timeout 5000
* SendMessageDataEx A5 A5 A5 A5 A5 A5 A5 A5 timeout 5000
* SendMessageDataEx A5 A5 A5 A5 A5 A5 A5 A5 timeout 5000
| \r% Done: 100\n
| The bitstream has been downloaded.\n
* EndOfSendMessageEx timeout 5000
* StartReceiveMessageEx timeout 5000
* ReceiveMessageDataEx size 2 timeout 5000
* EndOfReceiveMessageEx timeout 5000
| Configuration was successful.\n
?key Press return to continue.
* Close
)");
}

TEST_F(EntryPoints, DecodeEachFlagByItselfBeforeError9041)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    for (const int flags : {0, 1, 2, 4, 6, 8, 0xFF, -1, ~7})
        for (const bool by_handle : {false, true}) {
            by_handle ? handle(given, 1, "missing", 0, flags) : board("mwc4a", 0, 1, "missing", 0, flags);
            EXPECT_EQ(session.verbose, (flags & 1) != 0 ? 1U : 0U) << flags;
            EXPECT_EQ(session.prompt_user, (flags & 2) != 0 ? 1U : 0U) << flags;
            EXPECT_EQ(session.never_compress, (flags & 4) != 0 ? 1U : 0U) << flags;
        }
}

TEST_F(EntryPoints, DecodeTheActionAsFarAsError9040Or9041Or9042)
{
    const char* const texts[] = {"Error 9041. Cannot find/open missing.[rbt/mcb/bit] file.",
                                 "Error 9040. Cannot find/open missing.rbt file.",
                                 "Error 9042. Cannot find/open missing.mcb file."};
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    for (const int action : {0, 1, 2})
        for (const bool by_handle : {false, true}) {
            EXPECT_EQ(by_handle ? handle(given, 1, "missing", action)
                                : board("mwc4a", 0, 1, "missing", action),
                      Fails(texts[action]));
            EXPECT_EQ(session.make_mcb, action == 1 ? 1U : 0U);
            EXPECT_EQ(session.make_rbt, action == 2 ? 1U : 0U);
        }
}

TEST_F(EntryPoints, Error9310Or9311WhenTheBoardTypeOrTheFileNameIsNull)
{
    EXPECT_EQ(board(nullptr, 3, 0x12, nullptr, 9),
              Fails("Error 9310: kvn_fpga_board: The 'devstr' parameter is NULL."));
    EXPECT_EQ(session.board_type_given, 1U);
    EXPECT_EQ(session.board_number_given, 0U);
    EXPECT_EQ(session.slot_given, 0U);
    EXPECT_EQ(session.file_is_rbt, 0U);
    EXPECT_EQ(board("mwc4a", 3, 0x12, nullptr, 9),
              Fails("Error 9311: kvn_fpga_board: The 'rbtfile' parameter is NULL."));
    EXPECT_STREQ(session.board_type, "mwc4a");
    EXPECT_EQ(session.board_number, 3);
    EXPECT_EQ(session.slot_address, 0x12);
}

TEST_F(EntryPoints, KeepTheLowBitsOfNumberAndAddressBeforeError9041)
{
    board("mwc4a", 0x10003, 0xFFE2F, "missing");
    EXPECT_EQ(session.board_number, 3);
    EXPECT_EQ(session.slot_address, 0x2F);
    EXPECT_EQ(session.slot, 15);
    board("mwc4a", -1, -1, "missing");
    EXPECT_EQ(session.board_number, 65535);
    EXPECT_EQ(session.slot_address, 255);
    EXPECT_EQ(session.slot, 15);
}

TEST_F(EntryPoints, CutLongNamesToTheirFieldsBeforeError9312)
{
    board(std::string(40, 't').c_str(), 0, 1, std::string(300, 'f').c_str(), 17);
    EXPECT_EQ(session.board_type, std::string(31, 't'));
    EXPECT_EQ(session.bitstream_file, std::string(255, 'f'));
    EXPECT_EQ(session.make_mcb, 0U);
}

TEST_F(EntryPoints, DirectOnesNeverSearchBeforeError9077)
{
    platform.board("mwc4a", 0).slot(1, fpga_module(3));
    RbtFile{}.write();
    EXPECT_EQ(board("mwc4a", 0, 0x05, "design"),
              Fails("Error 9077. Invalid slot number 5 (should be 1,2,3 or 4)."));
    EXPECT_EQ(board("mwc4a", 0, 0, "design"),
              Fails("Error 9077. Invalid slot number 0 (should be 1,2,3 or 4)."));
    EXPECT_EQ(handle(platform.caller_handle("mwc4a", 0), 0, "design"),
              Fails("Error 9077. Invalid slot number 0 (should be 1,2,3 or 4)."));
}

TEST_F(EntryPoints, Error9300WhenTheHandleIsNull)
{
    EXPECT_EQ(handle(nullptr, 1, nullptr, 9),
              Fails("Error 9300: kvn_fpga_handle: The device handle is NULL."));
}

TEST_F(EntryPoints, Error9301WhenThePlatformKnowsNothingOfTheHandle)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    platform.fail("GetDeviceInfo", 1, 0x80000001);
    EXPECT_EQ(handle(given, 1, nullptr, 9),
              Fails("Error 9301: kvn_fpga_handle: Cannot retrieve information from device handle (API "
                    "error 0x80000001)."));
    // No words are asked for: the message shows the code.
    EXPECT_EQ(transcript(), "\n* GetDeviceInfo on caller handle\n");
}

TEST_F(EntryPoints, Error9302WhenTheFileNameIsNull)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 3);
    EXPECT_EQ(handle(given, 0x12, nullptr, 9),
              Fails("Error 9302: kvn_fpga_handle: The 'rbtfile' parameter is NULL."));
    EXPECT_STREQ(session.board_type, "mwc4a");
    EXPECT_EQ(session.board_number, 3);
    EXPECT_EQ(session.board_type_given, 1U);
    EXPECT_EQ(session.board_number_given, 1U);
    EXPECT_EQ(session.slot_given, 1U);
    EXPECT_EQ(session.slot_address, 0x12);
    EXPECT_EQ(session.slot, 2);
    EXPECT_EQ(session.handle, given);
    EXPECT_EQ(session.handle_is_external, 1U);
}

TEST_F(EntryPoints, Error9303WhenTheActionIsUnknown)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    EXPECT_EQ(handle(given, 1, "design", 3), Fails("Error 9303: kvn_fpga_handle: Unknown action 3."));
    EXPECT_STREQ(session.bitstream_file, "design");
    EXPECT_EQ(handle(given, 1, "design", -2), Fails("Error 9303: kvn_fpga_handle: Unknown action -2."));
}

TEST_F(EntryPoints, HandleIsUsedAsItIsAndNeverClosed)
{
    platform.board("mwc4a", 0).slot(2, fpga_module(3));
    RbtFile{Bytes(16, 0xA5)}.write();
    for (const KindWidth width : {KindWidth::bits16, KindWidth::bits32}) {
        clear_log();
        MW_HANDLE* given = platform.caller_handle("mwc4a", 0, 3, width);
        EXPECT_EQ(handle(given, 2, "design"), Succeeds());
        EXPECT_EQ(bus_transcript(), R"(
GetDeviceInfo on caller handle
GetBoardInfo "mwc4a" 0
SendMessageEx type 1 board 0 slot 2 length 0 timeout 5000 on caller handle
ReceiveMessageEx board 0 slot 2 size 30 timeout 5000 on caller handle
StartSendMessageEx board 0 slot 2 timeout 5000 on caller handle
SendMessageDataEx 03 05 timeout 5000 on caller handle
SendMessageDataEx A5 A5 A5 A5 A5 A5 A5 A5 timeout 5000 on caller handle
SendMessageDataEx A5 A5 A5 A5 A5 A5 A5 A5 timeout 5000 on caller handle
EndOfSendMessageEx timeout 5000 on caller handle
StartReceiveMessageEx timeout 5000 on caller handle
ReceiveMessageDataEx size 2 timeout 5000 on caller handle
EndOfReceiveMessageEx timeout 5000 on caller handle
)");
    }
}

TEST_F(EntryPoints, Error9307WhenThePlatformKnowsNothingOfTheCommandLinesHandle)
{
    MW_HANDLE* given = platform.caller_handle("mwc4a", 0);
    platform.fail("GetDeviceInfo", 1, 0xFFFFFFFE);
    EXPECT_EQ(run({"-fdesign"}, given),
              Fails("Error 9307: kvn_fpga: Cannot retrieve information from device handle (API error "
                    "0xfffffffe)."));
    EXPECT_EQ(session.api_status, -2);
    EXPECT_EQ(transcript(), "\n* GetDeviceInfo on caller handle\n");
}

TEST_F(EntryPoints, Error9002OfTheCommandLineComesBeforeTheHandleIsLookedAt)
{
    EXPECT_EQ(run({"-x"}, platform.caller_handle("mwc4a", 0)), Fails("Error 9002. Unknown option -x."));
    EXPECT_EQ(transcript(), "\n");
}

struct Handover {
    const char* what;
    std::string options;
    std::uint32_t kind;
    KindWidth width;
    bool is_used;
};

// The handle was opened on "mwc4a" 3.
TEST_F(EntryPoints, CommandLineTakesAHandleThatSuitsItBeforeError9041)
{
    const Handover rows[] = {
        {"nothing said", "", 3, KindWidth::bits32, true},
        {"16 bits wide", "", 3, KindWidth::bits16, true},
        {"same type", "-dmwc4a", 3, KindWidth::bits32, true},
        {"same type in capitals", "-dMWC4A", 3, KindWidth::bits32, true},
        {"beginning of the type", "-dmw", 3, KindWidth::bits32, true},
        {"more than the type", "-dmwc4ax", 3, KindWidth::bits32, false},
        {"other type", "-dmwc3a", 3, KindWidth::bits32, false},
        {"same number", "-b3", 3, KindWidth::bits32, true},
        {"other number", "-b0", 3, KindWidth::bits32, false},
        {"both the same", "-dmwc4a -b3", 3, KindWidth::bits32, true},
        {"same type, other number", "-dmwc4a -b4", 3, KindWidth::bits32, false},
        {"another device", "", 2, KindWidth::bits32, false},
        {"another device, 16 bits wide", "", 2, KindWidth::bits16, false},
    };
    for (const Handover& row : rows) {
        MW_HANDLE* given = platform.caller_handle("mwc4a", 3, row.kind, row.width);
        // The run ends at the missing file, behind the decision and before any use of the handle.
        EXPECT_EQ(run(split("-u -fmissing " + row.options, ' '), given).number, 9041) << row.what;
        EXPECT_EQ(session.handle_is_external, row.is_used ? 1U : 0U) << row.what;
        EXPECT_EQ(session.handle, row.is_used ? given : nullptr) << row.what;
        EXPECT_EQ(session.api_status, 0) << row.what;
    }
}

TEST_F(EntryPoints, Error9074BecauseTypeAndNumberAreNeverTakenFromTheHandle)
{
    RbtFile{}.write();
    EXPECT_EQ(run({"-u", "-fdesign"}, platform.caller_handle("mwc4a", 3)),
              Fails("Error 9074. Please define MWAPIKSB and MWAPIJTAG, or select a board type."));
    EXPECT_STREQ(session.board_type, "");
    EXPECT_EQ(session.board_number, 0);
}

TEST_F(EntryPoints, CommandLineWithANullHandleOrWithoutOneOpensTheBusItself)
{
    platform.board("mwc4b", 1).slot(2, fpga_module(4).accepts_compressed());
    RbtFile{Bytes(16, 0xA5)}.write();
    const std::vector<std::string> line{"-u", "-fdesign", "-dmwc4a", "-b0", "-s2", "-t1"};
    EXPECT_EQ(run(line), Succeeds());
    EXPECT_EQ(transcript(), LOAD_OF_BOARD_1_SLOT_2);
    clear_log();
    EXPECT_EQ(run_without_handle(line), Succeeds());
    EXPECT_EQ(transcript(), LOAD_OF_BOARD_1_SLOT_2);
}

TEST_F(EntryPoints, CommandLineMayAskBeforeError9041UntilItSaysOtherwise)
{
    EXPECT_EQ(run({"-fmissing"}).number, 9041);
    EXPECT_EQ(session.prompt_user, 1U);
    EXPECT_EQ(run({"-fmissing", "-u"}).number, 9041);
    EXPECT_EQ(session.prompt_user, 0U);
}

TEST_F(EntryPoints, CommandLineWithAConFileRunsThatInPlaceOfTheDriverToError9020)
{
    EXPECT_EQ(run({"-fdesign", "boards"}), Fails("Error 9020. Failed to find/open file \"boards.con\"."));
    EXPECT_EQ(run_without_handle({"-fdesign", "boards"}),
              Fails("Error 9020. Failed to find/open file \"boards.con\"."));
}

TEST_F(EntryPoints, ForgetTheRunOfError9052InThatOfError9040)
{
    board("mwc4a", 7, 0x73, "missing", 1, 7);
    EXPECT_EQ(run({"-u"}).number, 9052) << "no file is left from the run before";
    EXPECT_STREQ(session.board_type, "");
    EXPECT_EQ(session.slot_address, 0);
    EXPECT_EQ(session.make_mcb, 0U);
}

} // namespace
