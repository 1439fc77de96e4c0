// SPDX-License-Identifier: Apache-2.0
// The session's frame: reset, version, callbacks, last error, the environment.
#include "kvn_fpga.h"
#include "support/bitstreams.h"
#include "support/run_fixture.h"

#include <cstring>
#include <type_traits>

namespace
{
// The public class: a pointer to the session, and a virtual destructor as its only virtual operation.
static_assert(sizeof(kvn_fpga) == 2 * sizeof(void*));
static_assert(std::has_virtual_destructor_v<kvn_fpga> && std::has_virtual_destructor_v<kvn_fpga_imp>);
static_assert(!std::is_copy_constructible_v<kvn_fpga> && !std::is_copy_assignable_v<kvn_fpga>);
static_assert(!std::is_copy_constructible_v<kvn_fpga_imp> && !std::is_copy_assignable_v<kvn_fpga_imp>);

// The fields as callers of the session know them.
static_assert(sizeof(kvn_fpga_imp::board_type) == 32 && sizeof(kvn_fpga_imp::device_name) == 32);
static_assert(sizeof(kvn_fpga_imp::bitstream_file) == 256 && sizeof(kvn_fpga_imp::con_file) == 256);
static_assert(sizeof(kvn_fpga_imp::send_buffer) == 8192 && sizeof(kvn_fpga_imp::last_error_text) == 1024);

class Session : public RunFixture
{
};

TEST_F(Session, Error9215ForFunctionTypesOtherThan0To2LeavesAllCallbacks)
{
    const auto print = session.user_print;
    const auto prompt = session.user_prompt;
    const auto askstring = session.user_askstring;
    const auto ask_yn = session.user_ask_yn;
    EXPECT_EQ(result(session.kvn_fpga_set_userfie(nullptr, 3)),
              Fails("Error 9215. No function type 3 defined. Use type 0,1 or 2."));
    EXPECT_EQ(result(session.kvn_fpga_set_userfie(nullptr, -1)),
              Fails("Error 9215. No function type -1 defined. Use type 0,1 or 2."));
    EXPECT_EQ(session.user_print, print);
    EXPECT_EQ(session.user_prompt, prompt);
    EXPECT_EQ(session.user_askstring, askstring);
    EXPECT_EQ(session.user_ask_yn, ask_yn);
}

int some_function(char*, void*)
{
    return 0;
}

void some_print(char*) {}

TEST_F(Session, KeepsItsCallbacksFromRunToRunBehindError9052)
{
    session.kvn_fpga_set_userprint(&some_print);
    for (int type = 0; type <= 2; ++type)
        session.kvn_fpga_set_userfie(&some_function, type);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(run({"-u"}), Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
        EXPECT_EQ(session.user_print, &some_print);
        EXPECT_EQ(session.user_prompt, &some_function);
        EXPECT_EQ(session.user_askstring, &some_function);
        EXPECT_EQ(session.user_ask_yn, &some_function);
    }
}

TEST_F(Session, ReportsItsVersion)
{
    kvn_fpga object;
    int major = 0;
    int minor = 0;
    char* text = nullptr;
    object.kvn_fpga_version(&major, &minor, &text);
    EXPECT_EQ(major, 2);
    EXPECT_EQ(minor, 7);
    EXPECT_STREQ(text, "2.7 17/02/06");
}

TEST_F(Session, StoresEachKindOfFunctionByItsType)
{
    kvn_fpga_imp fresh;
    EXPECT_EQ(fresh.user_print, nullptr);
    EXPECT_EQ(fresh.user_prompt, nullptr);
    EXPECT_EQ(fresh.user_askstring, nullptr);
    EXPECT_EQ(fresh.user_ask_yn, nullptr);

    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 0), 0);
    EXPECT_EQ(fresh.user_prompt, &some_function);
    EXPECT_EQ(fresh.user_askstring, nullptr);
    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 1), 0);
    EXPECT_EQ(fresh.user_askstring, &some_function);
    EXPECT_EQ(fresh.user_ask_yn, nullptr);
    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 2), 0);
    EXPECT_EQ(fresh.user_ask_yn, &some_function);
    fresh.kvn_fpga_set_userprint(&some_print);
    EXPECT_EQ(fresh.user_print, &some_print);

    for (int type = 0; type <= 2; ++type)
        EXPECT_EQ(fresh.kvn_fpga_set_userfie(nullptr, type), 0);
    fresh.kvn_fpga_set_userprint(nullptr);
    EXPECT_EQ(fresh.user_print, nullptr);
    EXPECT_EQ(fresh.user_prompt, nullptr);
    EXPECT_EQ(fresh.user_askstring, nullptr);
    EXPECT_EQ(fresh.user_ask_yn, nullptr);
}

TEST_F(Session, DeclaresItsFieldsInOrder)
{
    const void* fields[] = {&session.handle,
                            &session.reserved,
                            &session.ReadIoStatus,
                            &session.WriteIoStatus,
                            &session.api_status,
                            &session.board_type,
                            &session.slot,
                            &session.slot_address,
                            &session.board_number,
                            &session.device_name,
                            &session.prompt_user,
                            &session.verbose,
                            &session.slot_given,
                            &session.board_type_given,
                            &session.handle_is_external,
                            &session.board_number_given,
                            &session.file_is_rbt,
                            &session.bitstream_file,
                            &session.make_mcb,
                            &session.never_compress,
                            &session.make_rbt,
                            &session.con_given,
                            &session.con_file,
                            &session.file_is_mcb,
                            &session.file_is_bit,
                            &session.virtex2_family,
                            &session.supports_compressed_loading,
                            &session.current_module_type,
                            &session.target_board,
                            &session.target_board_given,
                            &session.send_buffer,
                            &session.send_count,
                            &session.rbt_fp,
                            &session.bin_fp,
                            &session.user_print,
                            &session.user_prompt,
                            &session.user_askstring,
                            &session.user_ask_yn,
                            &session.last_error,
                            &session.last_error_text};
    for (std::size_t i = 1; i < std::size(fields); ++i)
        EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
}

/// Puts something other than nothing into every field that a reset clears, and into file_is_bit.
void soil(kvn_fpga_imp& session, MW_HANDLE* handle, FILE* file)
{
    session.handle = handle;
    session.reserved = session.ReadIoStatus = session.WriteIoStatus = 7;
    session.api_status = -7;
    for (char* text : {session.board_type, session.device_name, session.bitstream_file, session.con_file,
                       session.last_error_text})
        std::strcpy(text, "text");
    session.slot = session.slot_address = 7;
    session.board_number = 7;
    for (std::uint32_t* word :
         {&session.prompt_user, &session.verbose, &session.slot_given, &session.board_type_given,
          &session.handle_is_external, &session.board_number_given, &session.file_is_rbt, &session.make_mcb,
          &session.never_compress, &session.make_rbt, &session.con_given, &session.file_is_mcb,
          &session.file_is_bit, &session.virtex2_family, &session.supports_compressed_loading,
          &session.target_board, &session.target_board_given, &session.send_count})
        *word = 1;
    session.current_module_type = 2;
    session.rbt_fp = session.bin_fp = file;
    session.last_error = 9999;
}

void expect_cleared(const kvn_fpga_imp& session)
{
    EXPECT_EQ(session.handle, nullptr);
    EXPECT_EQ(session.reserved, 0U);
    EXPECT_EQ(session.ReadIoStatus, 0U);
    EXPECT_EQ(session.WriteIoStatus, 0U);
    EXPECT_EQ(session.api_status, 0);
    EXPECT_STREQ(session.board_type, "");
    EXPECT_EQ(session.slot, 0);
    EXPECT_EQ(session.slot_address, 0);
    EXPECT_EQ(session.board_number, 0);
    EXPECT_STREQ(session.device_name, "");
    EXPECT_EQ(session.prompt_user, 0U);
    EXPECT_EQ(session.verbose, 0U);
    EXPECT_EQ(session.slot_given, 0U);
    EXPECT_EQ(session.board_type_given, 0U);
    EXPECT_EQ(session.handle_is_external, 0U);
    EXPECT_EQ(session.board_number_given, 0U);
    EXPECT_EQ(session.file_is_rbt, 0U);
    EXPECT_STREQ(session.bitstream_file, "");
    EXPECT_EQ(session.make_mcb, 0U);
    EXPECT_EQ(session.never_compress, 0U);
    EXPECT_EQ(session.make_rbt, 0U);
    EXPECT_EQ(session.con_given, 0U);
    EXPECT_STREQ(session.con_file, "");
    EXPECT_EQ(session.file_is_mcb, 0U);
    EXPECT_EQ(session.virtex2_family, 0U);
    EXPECT_EQ(session.supports_compressed_loading, 0U);
    EXPECT_EQ(session.current_module_type, 0);
    EXPECT_EQ(session.target_board, 0U);
    EXPECT_EQ(session.target_board_given, 0U);
    EXPECT_EQ(session.send_count, 0U);
    EXPECT_EQ(session.rbt_fp, nullptr);
    EXPECT_EQ(session.bin_fp, nullptr);
    EXPECT_EQ(session.last_error, 0);
    EXPECT_STREQ(session.last_error_text, "");
}

TEST_F(Session, ResetClearsEverythingButCallbacksAndTheBitFileFlag)
{
    MW_HANDLE* handle = platform.caller_handle("mwc4a", 0);
    soil(session, handle, nullptr);
    session.Initialise();
    expect_cleared(session);
    EXPECT_EQ(session.file_is_bit, 1U);
    EXPECT_NE(session.user_print, nullptr);
    EXPECT_NE(session.user_prompt, nullptr);
    EXPECT_NE(session.user_askstring, nullptr);
    EXPECT_NE(session.user_ask_yn, nullptr);
}

TEST_F(Session, ResetForgetsFilesAndHandleWithoutClosingThem)
{
    write_file("design.rbt", "still readable");
    FILE* file = std::fopen("design.rbt", "r");
    ASSERT_NE(file, nullptr);
    MW_HANDLE* handle = platform.opened_bus("mwc4a", 0);
    soil(session, handle, file);
    session.Initialise();
    EXPECT_EQ(std::fgetc(file), 's');
    EXPECT_EQ(transcript(), "\n") << "the platform was called";
    EXPECT_EQ(platform.open_handles(), 1);
    std::fclose(file);
    MwClose(&handle);
}

TEST_F(Session, DestructionClosesNeitherFilesNorHandle)
{
    write_file("design.rbt", "still readable");
    FILE* file = std::fopen("design.rbt", "r");
    ASSERT_NE(file, nullptr);
    MW_HANDLE* handle = platform.opened_bus("mwc4a", 0);
    {
        kvn_fpga_imp other;
        other.rbt_fp = file;
        other.handle = handle;
    }
    EXPECT_EQ(std::fgetc(file), 's');
    std::fclose(file);
    EXPECT_EQ(platform.open_handles(), 1);
    MwClose(&handle);
}

TEST_F(Session, StartsClearedOfEverything)
{
    const kvn_fpga_imp fresh;
    expect_cleared(fresh);
    EXPECT_EQ(fresh.file_is_bit, 0U);
}

TEST_F(Session, CountsOnlyTheLastRunsErrorOf9002And9052)
{
    EXPECT_EQ(run({"-x"}), Fails("Error 9002. Unknown option -x."));
    EXPECT_EQ(run({"-u"}), Fails("Error 9052. No RBT, MCB, or BIT file specified (-f option)."));
    platform.board("mwc4a", 0).slot(1, fpga_module(4));
    RbtFile{}.write();
    EXPECT_EQ(run({"-u", "-fdesign", "-dmwc4a", "-b0", "-s1"}), Succeeds());
}

TEST_F(Session, CutsAMessageOfError9002At1023Characters)
{
    const std::string option = "-x" + std::string(2000, 'y');
    EXPECT_EQ(run({option}), Fails(9002, ("Error 9002. Unknown option " + option).substr(0, 1023)));
}

TEST_F(Session, TakesPercentSignsInError9002AndError9041AsTheyAre)
{
    EXPECT_EQ(run({"-x%n%s%d"}), Fails("Error 9002. Unknown option -x%n%s%d."));
    EXPECT_EQ(run({"-u", "-f%n%s%d"}), Fails("Error 9041. Cannot find/open %n%s%d.[rbt/mcb/bit] file."));
}

TEST_F(Session, ReadsTheEnvironmentByTwoEqualAccessors)
{
    EXPECT_EQ(kvn_fpga_imp::getapivar("MWAPIKSB"), nullptr);
    EXPECT_EQ(kvn_fpga_imp::getregenv("MWAPIKSB"), nullptr);
    mwapiksb.set("mwc4a 3");
    EXPECT_STREQ(kvn_fpga_imp::getapivar("MWAPIKSB"), "mwc4a 3");
    EXPECT_STREQ(kvn_fpga_imp::getregenv("MWAPIKSB"), "mwc4a 3");
    mwapiksb.set("");
    EXPECT_STREQ(kvn_fpga_imp::getapivar("MWAPIKSB"), "");
}

TEST_F(Session, RecordsError9002WithoutPrintingIt)
{
    run({"-x"});
    EXPECT_EQ(transcript(), "\n");
}

// The public class forwards to the session's operations of the same names.
class PublicClass : public Session
{
protected:
    PublicClass() { install_callbacks(object); }

    kvn_fpga object;
    Chars type{"mwc4a"};
    Chars file{"design"};
    MW_HANDLE* handle = platform.caller_handle("mwc4a", 0);
};

TEST_F(PublicClass, ReachesTheBoardEntryAsFarAsError9310Or9311Or9312Or9041)
{
    EXPECT_EQ(object.kvn_fpga_board(nullptr, 0, 0, nullptr, 0, 0), 9310);
    EXPECT_EQ(object.kvn_fpga_board(type, 0, 1, nullptr, 0, 0), 9311);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(),
                 "Error 9311: kvn_fpga_board: The 'rbtfile' parameter is NULL.");
    EXPECT_EQ(object.kvn_fpga_board(type, 0, 1, file, 17, 0), 9312);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(), "Error 9312: kvn_fpga_board: Unknown action 17.");
    EXPECT_EQ(object.kvn_fpga_board(type, 16, 1, file, 0, 0), 9041);
}

TEST_F(PublicClass, ReachesTheHandleEntryAsFarAsError9300Or9041)
{
    EXPECT_EQ(object.kvn_fpga_handle(nullptr, 0, nullptr, 0, 0), 9300);
    EXPECT_EQ(object.kvn_fpga_handle(handle, 0x12, file, 0, 0), 9041);
}

TEST_F(PublicClass, ReachesTheCommandLineEntriesAsFarAsError9002)
{
    Arguments line{"KVN_FPGA", "-x"};
    EXPECT_EQ(object.kvn_fpga_main(line.argc(), line.argv()), 9002);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(), "Error 9002. Unknown option -x.");
    EXPECT_EQ(object.kvn_fpga_main(handle, line.argc(), line.argv()), 9002);
}

TEST_F(PublicClass, ReachesTheCallbacksAsFarAsError9215)
{
    EXPECT_EQ(object.kvn_fpga_set_userfie(nullptr, 5), 9215);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(), "Error 9215. No function type 5 defined. Use type 0,1 or 2.");
}

TEST_F(PublicClass, ReachesTheHelp)
{
    key = 0x4B;
    EXPECT_EQ(object.kvn_fpga_help(), 0x4B);
}
} // namespace
