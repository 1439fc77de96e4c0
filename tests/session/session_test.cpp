// SPDX-License-Identifier: Apache-2.0
// The session's frame: reset, version, callbacks, last error, the environment.
#include "kvn_fpga.h"
#include "support/bitstreams.h"
#include "support/run_fixture.h"

#include <algorithm>
#include <cstring>
#include <tuple>
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

using Session = RunFixture;

/// The functions of an application, as a session holds them.
auto functions_of(const kvn_fpga_imp& session)
{
    return std::tuple{session.user_print, session.user_prompt, session.user_askstring, session.user_ask_yn};
}

constexpr std::tuple<void (*)(char*), int (*)(char*, void*), int (*)(char*, void*), int (*)(char*, void*)>
    no_functions{};

TEST_F(Session, Error9215ForFunctionTypesOtherThan0To2LeavesAllCallbacks)
{
    const auto before = functions_of(session);
    for (const int type : {3, -1})
        EXPECT_EQ(
            result(session.kvn_fpga_set_userfie(nullptr, type)),
            Fails("Error 9215. No function type " + std::to_string(type) + " defined. Use type 0,1 or 2."));
    EXPECT_EQ(functions_of(session), before);
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
        EXPECT_EQ(functions_of(session),
                  (std::tuple{&some_print, &some_function, &some_function, &some_function}));
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
    auto expected = no_functions;
    EXPECT_EQ(functions_of(fresh), expected);
    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 0), 0);
    std::get<1>(expected) = &some_function;
    EXPECT_EQ(functions_of(fresh), expected);
    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 1), 0);
    std::get<2>(expected) = &some_function;
    EXPECT_EQ(functions_of(fresh), expected);
    EXPECT_EQ(fresh.kvn_fpga_set_userfie(&some_function, 2), 0);
    std::get<3>(expected) = &some_function;
    fresh.kvn_fpga_set_userprint(&some_print);
    std::get<0>(expected) = &some_print;
    EXPECT_EQ(functions_of(fresh), expected);
    remove_callbacks(fresh);
    EXPECT_EQ(functions_of(fresh), no_functions);
}

template <class... Fields>
void expect_in_order(const Fields*... fields)
{
    const void* all[] = {fields...};
    for (std::size_t i = 1; i < std::size(all); ++i)
        EXPECT_LT(all[i - 1], all[i]) << "field " << i;
}

TEST_F(Session, DeclaresItsFieldsInOrder)
{
    const kvn_fpga_imp& s = session;
    expect_in_order(&s.handle, &s.reserved, &s.ReadIoStatus, &s.WriteIoStatus, &s.api_status, &s.board_type,
                    &s.slot, &s.slot_address, &s.board_number, &s.device_name, &s.prompt_user, &s.verbose,
                    &s.slot_given, &s.board_type_given, &s.handle_is_external, &s.board_number_given,
                    &s.file_is_rbt, &s.bitstream_file, &s.make_mcb, &s.never_compress, &s.make_rbt,
                    &s.con_given, &s.con_file, &s.file_is_mcb, &s.file_is_bit, &s.virtex2_family,
                    &s.supports_compressed_loading, &s.current_module_type, &s.target_board,
                    &s.target_board_given, &s.send_buffer, &s.send_count, &s.rbt_fp, &s.bin_fp, &s.user_print,
                    &s.user_prompt, &s.user_askstring, &s.user_ask_yn, &s.last_error, &s.last_error_text);
}

// The fields that a reset clears, and what stands for them here.
constexpr std::uint32_t kvn_fpga_imp::*words[] = {&kvn_fpga_imp::reserved,
                                                  &kvn_fpga_imp::ReadIoStatus,
                                                  &kvn_fpga_imp::WriteIoStatus,
                                                  &kvn_fpga_imp::prompt_user,
                                                  &kvn_fpga_imp::verbose,
                                                  &kvn_fpga_imp::slot_given,
                                                  &kvn_fpga_imp::board_type_given,
                                                  &kvn_fpga_imp::handle_is_external,
                                                  &kvn_fpga_imp::board_number_given,
                                                  &kvn_fpga_imp::file_is_rbt,
                                                  &kvn_fpga_imp::make_mcb,
                                                  &kvn_fpga_imp::never_compress,
                                                  &kvn_fpga_imp::make_rbt,
                                                  &kvn_fpga_imp::con_given,
                                                  &kvn_fpga_imp::file_is_mcb,
                                                  &kvn_fpga_imp::virtex2_family,
                                                  &kvn_fpga_imp::supports_compressed_loading,
                                                  &kvn_fpga_imp::target_board,
                                                  &kvn_fpga_imp::target_board_given,
                                                  &kvn_fpga_imp::send_count};

/// Puts something other than nothing into every field that a reset clears, and into file_is_bit.
void soil(kvn_fpga_imp& session, MW_HANDLE* handle, FILE* file)
{
    session.handle = handle;
    for (const auto word : words)
        session.*word = 1;
    for (char* text : {session.board_type, session.device_name, session.bitstream_file, session.con_file,
                       session.last_error_text})
        std::strcpy(text, "text");
    session.slot = session.slot_address = 7;
    session.board_number = 7;
    session.current_module_type = 2;
    session.file_is_bit = 1;
    session.rbt_fp = session.bin_fp = file;
    session.api_status = session.last_error = -7;
}

void expect_cleared(const kvn_fpga_imp& session)
{
    EXPECT_EQ(session.handle, nullptr);
    for (const auto word : words)
        EXPECT_EQ(session.*word, 0U) << std::find(words, std::end(words), word) - words;
    for (const char* text : {session.board_type, session.device_name, session.bitstream_file,
                             session.con_file, session.last_error_text})
        EXPECT_STREQ(text, "");
    EXPECT_EQ(session.slot, 0);
    EXPECT_EQ(session.slot_address, 0);
    EXPECT_EQ(session.board_number, 0);
    EXPECT_EQ(session.current_module_type, 0);
    EXPECT_EQ(session.rbt_fp, nullptr);
    EXPECT_EQ(session.bin_fp, nullptr);
    EXPECT_EQ(session.api_status, 0);
    EXPECT_EQ(session.last_error, 0);
}

TEST_F(Session, ResetClearsEverythingButCallbacksAndTheBitFileFlag)
{
    const auto functions = functions_of(session);
    soil(session, platform.caller_handle("mwc4a", 0), nullptr);
    session.Initialise();
    expect_cleared(session);
    EXPECT_EQ(session.file_is_bit, 1U);
    EXPECT_EQ(functions_of(session), functions);
    EXPECT_NE(session.user_print, nullptr);
}

TEST_F(Session, ResetAndDestructionForgetFilesAndHandleWithoutClosingThem)
{
    write_file("design.rbt", "still readable");
    FILE* file = std::fopen("design.rbt", "r");
    ASSERT_NE(file, nullptr);
    MW_HANDLE* handle = platform.opened_bus("mwc4a", 0);
    soil(session, handle, file);
    session.Initialise();
    {
        kvn_fpga_imp other;
        soil(other, handle, file);
    }
    EXPECT_EQ(std::fgetc(file), 's');
    EXPECT_EQ(transcript(), "\n") << "the platform was called";
    EXPECT_EQ(platform.open_handles(), 1);
    std::fclose(file);
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
}

TEST_F(Session, ReadsAVariableWithoutAValueAsAnEmptyText)
{
    mwapiksb.set("");
    EXPECT_STREQ(kvn_fpga_imp::getapivar("MWAPIKSB"), "");
}

TEST_F(Session, RecordsError9002WithoutPrintingIt)
{
    run({"-x"});
    EXPECT_EQ(transcript(), "\n");
}

// The public class forwards to the session's operations of the same names.
TEST_F(Session, IsReachedByThePublicClassAsFarAsError9310Or9312Or9041Or9300Or9002Or9215)
{
    kvn_fpga object;
    install_callbacks(object);
    Chars type{"mwc4a"};
    Chars file{"design"};
    MW_HANDLE* handle = platform.caller_handle("mwc4a", 0);
    Arguments line{"KVN_FPGA", "-x"};
    key = 0x4B;
    EXPECT_EQ(object.kvn_fpga_board(nullptr, 0, 0, nullptr, 0, 0), 9310);
    EXPECT_EQ(object.kvn_fpga_board(type, 0, 1, file, 17, 0), 9312);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(), "Error 9312: kvn_fpga_board: Unknown action 17.");
    EXPECT_EQ(object.kvn_fpga_board(type, 16, 1, file, 0, 0), 9041);
    EXPECT_EQ(object.kvn_fpga_handle(nullptr, 0, nullptr, 0, 0), 9300);
    EXPECT_EQ(object.kvn_fpga_handle(handle, 0x12, file, 0, 0), 9041);
    EXPECT_EQ(object.kvn_fpga_main(line.argc(), line.argv()), 9002);
    EXPECT_STREQ(object.kvn_fpga_getlasterr(), "Error 9002. Unknown option -x.");
    EXPECT_EQ(object.kvn_fpga_main(handle, line.argc(), line.argv()), 9002);
    EXPECT_EQ(object.kvn_fpga_set_userfie(nullptr, 5), 9215);
    EXPECT_EQ(object.kvn_fpga_help(), 0x4B);
}
} // namespace
