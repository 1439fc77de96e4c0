// SPDX-License-Identifier: Apache-2.0
// What the built library offers and what it asks for.
#include "support/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
using testing::UnorderedElementsAre;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

/// The lines that a program of binutils prints of the library.
std::vector<std::string> lines_of(const std::string& program, std::vector<std::string> options)
{
    options.emplace_back(KVN_FPGA_LIBRARY);
    std::istringstream text{run({program, std::move(options)}).output};
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

/// What stands behind a mark in those lines of a program's output that hold it, up to an end mark.
std::set<std::string> found_in(const std::string& program, const std::vector<std::string>& options,
                               const std::string& mark, char end = '\n')
{
    std::set<std::string> found;
    for (const std::string& line : lines_of(program, options)) {
        const std::size_t start = line.find(mark);
        if (start != std::string::npos)
            found.insert(line.substr(start + mark.size(), line.find(end, start) - start - mark.size()));
    }
    return found;
}

TEST(LibraryFile, ExportsThePublicClassAndNothingElse)
{
    std::set<std::string> exported;
    for (const char* kind : {" T ", " W ", " V ", " D ", " B ", " R ", " u ", " i "})
        exported.merge(found_in(NM, {"-DC", "--defined-only"}, kind));
    if (is_sanitized)
        std::erase_if(exported, [](const std::string& name) { return name.starts_with("__odr_asan"); });
    EXPECT_THAT(exported, UnorderedElementsAre(
                              "kvn_fpga::kvn_fpga()", "kvn_fpga::~kvn_fpga()",
                              "kvn_fpga::kvn_fpga_board(char*, int, int, char*, int, int)",
                              "kvn_fpga::kvn_fpga_handle(MW_HANDLE*, int, char*, int, int)",
                              "kvn_fpga::kvn_fpga_main(MW_HANDLE*, int, char**)",
                              "kvn_fpga::kvn_fpga_main(int, char**)", "kvn_fpga::kvn_fpga_getlasterr()",
                              "kvn_fpga::kvn_fpga_set_userfie(int (*)(char*, void*), int)",
                              "kvn_fpga::kvn_fpga_set_userprint(void (*)(char*))",
                              "kvn_fpga::kvn_fpga_help()", "kvn_fpga::kvn_fpga_version(int*, int*, char**)",
                              "vtable for kvn_fpga", "typeinfo for kvn_fpga", "typeinfo name for kvn_fpga"));
}

TEST(LibraryFile, LeavesTheSixteenPlatformFunctionsToTheHost)
{
    std::set<std::string> undefined = found_in(NM, {"-D", "--undefined-only"}, " U ");
    std::erase_if(undefined, [](const std::string& name) { return !name.starts_with("Mw"); });
    EXPECT_THAT(undefined,
                UnorderedElementsAre(
                    "MwOpenS", "MwClose", "MwErr2Text", "MwGetBoardInfo", "MwGetDeviceInfo", "MwInitIoStatus",
                    "MwKSBSendMessage", "MwKSBReceiveMessage", "MwKSBSendMessageEx", "MwKSBReceiveMessageEx",
                    "MwKSBStartSendMessageEx", "MwKSBSendMessageDataEx", "MwKSBEndOfSendMessageEx",
                    "MwKSBStartReceiveMessageEx", "MwKSBReceiveMessageDataEx", "MwKSBEndOfReceiveMessageEx"));
}

TEST(LibraryFile, IsLinkedToTheLanguagesLibrariesAlone)
{
    std::set<std::string> allowed = {"libc.so.6", "libm.so.6", "libgcc_s.so.1", "libstdc++.so.6",
                                     "ld-linux-x86-64.so.2"};
    if (is_sanitized)
        allowed.insert({"libasan.so.8", "libubsan.so.1"});
    const std::set<std::string> needed = found_in(READELF, {"-dW"}, "Shared library: [", ']');
    EXPECT_TRUE(needed.contains("libc.so.6"));
    EXPECT_THAT(needed, testing::IsSubsetOf(allowed));
}

TEST(LibraryFile, HasTheSonameOfItsMajorVersion)
{
    EXPECT_THAT(found_in(READELF, {"-dW"}, "Library soname: [", ']'),
                UnorderedElementsAre("libkvn_fpga.so.2"));
    EXPECT_TRUE(std::string{KVN_FPGA_LIBRARY}.ends_with("/libkvn_fpga.so.2.7.0"));
}

TEST(LibraryFile, HasNoPathOfItsBuild)
{
    EXPECT_THAT(found_in(READELF, {"-dW"}, "PATH)"), testing::IsEmpty());
}
} // namespace
