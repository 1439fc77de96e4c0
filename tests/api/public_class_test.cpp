// SPDX-License-Identifier: Apache-2.0
// The public class, through only its header and the shared library.
#include "kvn_fpga.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace
{
// The interface that present callers were compiled with.
template <class Method, class Expected>
constexpr bool is = std::is_same_v<Method, Expected>;
static_assert(is<decltype(&kvn_fpga::kvn_fpga_board), int (kvn_fpga::*)(char*, int, int, char*, int, int)>);
static_assert(is<decltype(&kvn_fpga::kvn_fpga_handle), int (kvn_fpga::*)(MW_HANDLE*, int, char*, int, int)>);
constexpr int (kvn_fpga::*main_with_handle)(MW_HANDLE*, int, char**) = &kvn_fpga::kvn_fpga_main;
constexpr int (kvn_fpga::*main_without_handle)(int, char**) = &kvn_fpga::kvn_fpga_main;
static_assert(is<decltype(&kvn_fpga::kvn_fpga_getlasterr), char* (kvn_fpga::*)()>);
static_assert(is<decltype(&kvn_fpga::kvn_fpga_set_userfie), int (kvn_fpga::*)(int (*)(char*, void*), int)>);
static_assert(is<decltype(&kvn_fpga::kvn_fpga_set_userprint), void (kvn_fpga::*)(void (*)(char*))>);
static_assert(is<decltype(&kvn_fpga::kvn_fpga_help), int (kvn_fpga::*)()>);
static_assert(is<decltype(&kvn_fpga::kvn_fpga_version), void (kvn_fpga::*)(int*, int*, char**)>);
static_assert(std::is_default_constructible_v<kvn_fpga> && std::has_virtual_destructor_v<kvn_fpga>);
static_assert(!std::is_copy_constructible_v<kvn_fpga> && !std::is_copy_assignable_v<kvn_fpga>);
static_assert(sizeof(kvn_fpga) == 2 * sizeof(void*), "one pointer, and that to the virtual functions");

TEST(PublicClass, TellsItsVersion)
{
    kvn_fpga fpga;
    int major = 0;
    int minor = 0;
    char* text = nullptr;
    fpga.kvn_fpga_version(&major, &minor, &text);
    EXPECT_EQ(major, 2);
    EXPECT_EQ(minor, 7);
    EXPECT_STREQ(text, "2.7 17/02/06");
}

TEST(PublicClass, RunsACommandLineWithAndWithoutAHandle)
{
    char program[] = "host";
    char option[] = "-s5";
    char* arguments[] = {program, option, nullptr};
    kvn_fpga fpga;
    EXPECT_EQ((fpga.*main_without_handle)(2, arguments), 9000);
    EXPECT_EQ((fpga.*main_with_handle)(nullptr, 2, arguments), 9000);
    EXPECT_STREQ(fpga.kvn_fpga_getlasterr(), "Error 9000. Slot 5 is not a valid slot (must be 1,2,3 or 4).");
}

std::string printed;
int pauses = 0;

TEST(PublicClass, PrintsAndAsksThroughTheCallersFunctions)
{
    printed.clear();
    pauses = 0;
    kvn_fpga fpga;
    fpga.kvn_fpga_set_userprint([](char* text) { printed += text; });
    EXPECT_EQ(fpga.kvn_fpga_set_userfie([](char*, void*) { return ++pauses; }, 0), 0);
    EXPECT_EQ(fpga.kvn_fpga_help(), 3) << "the result of the last pause";
    EXPECT_EQ(pauses, 3);
    EXPECT_TRUE(printed.starts_with(
        "KVN_FPGA   Kavrin-FPGA and Kavrin-IO Configuration Utility version 2.7 17/02/06\n"));
}
} // namespace
