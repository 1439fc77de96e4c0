// SPDX-License-Identifier: Apache-2.0
// Command lines, and where programs are.
#include "system/windows/start.h"

#include "support/environment.h"
#include "support/folder_test.h"
#include "system/arguments.h"

#include <gmock/gmock.h>
#include <shellapi.h>

#include <memory>
#include <random>

namespace
{
using namespace kvn::system; // NOLINT(google-build-using-namespace): what is tested
using testing::ElementsAreArray;

using Words = std::vector<std::string>;

/// As programs of Windows take a line apart.
Words words_in(const std::wstring& line)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> found{::CommandLineToArgvW(line.c_str(), &count),
                                                                  &::LocalFree};
    Words words;
    for (int i = 0; i < count; ++i)
        words.push_back(narrow(found.get()[i]));
    return words;
}

std::string line_of(const Words& words)
{
    return narrow(windows::command_line(words));
}

TEST(CommandLine, QuotesOnlyWhatNeedsIt)
{
    EXPECT_EQ(line_of({"kvn.exe", "load", "C:\\boards\\design.bit", "a\\", "--x=y"}),
              "kvn.exe load C:\\boards\\design.bit a\\ --x=y");
    EXPECT_EQ(line_of({"kvn.exe", "", "two words", "tab\t"}), "kvn.exe \"\" \"two words\" \"tab\t\"");
}

TEST(CommandLine, DoublesBackslashesInFrontOfAQuotationMarkOnly)
{
    EXPECT_EQ(line_of({"kvn.exe", "a b\\c\\"}), R"(kvn.exe "a b\c\\")");
    EXPECT_EQ(line_of({"kvn.exe", "\"", "\\\""}), R"(kvn.exe "\"" "\\\"")");
}

TEST(CommandLine, IsTakenApartIntoTheWordsItWasMadeOf)
{
    constexpr unsigned SEED = 18;
    constexpr int LINES = 2000;
    std::mt19937 random{SEED};
    const Words pieces{"a",      " ",     "\t", "\"",     "\\",     "\\\\",      "'",
                       "%PATH%", "^&|<>", "*",  "\u00E4", "\u65E5", "\U0001F600"};
    for (int line = 0; line < LINES; ++line) {
        Words words{"program.exe"};
        for (auto count = random() % 4; count != 0; --count) {
            std::string word;
            for (auto length = random() % 7; length != 0; --length)
                word += pieces[random() % pieces.size()];
            words.push_back(word);
        }
        ASSERT_THAT(words_in(windows::command_line(words)), ElementsAreArray(words));
    }
}

TEST(Arguments, AreThoseThatWindowsHasAndEndInANull)
{
    char given[] = "other";
    char* all[] = {given, nullptr};
    Arguments arguments{1, all};
    EXPECT_GE(arguments.count(), 1);
    EXPECT_THAT(arguments.words()[0], testing::HasSubstr("system_tests"));
    EXPECT_EQ(arguments.words()[arguments.count()], nullptr);
}

class PathOfProgram : public FolderTest
{
protected:
    EnvironmentVariable search{"PATH"};
};

TEST_F(PathOfProgram, IsLookedForInPathWithTheExtensionOfPrograms)
{
    std::filesystem::create_directory(folder / "first");
    std::filesystem::create_directory(folder / "second");
    write("first/tool.cmd", "");
    write("second/tool.exe", "");
    search.set(path("first") + ";;" + path("second"));
    const auto found = [](const std::string& name) {
        return std::filesystem::path{windows::path_of_program(name).value_or(L"none")};
    };
    EXPECT_EQ(found("tool"), folder / "second" / "tool.exe");
    EXPECT_EQ(found("tool.exe"), folder / "second" / "tool.exe");
    EXPECT_EQ(found("TOOL.EXE").parent_path(), folder / "second");
    EXPECT_EQ(found("tool.cmd"), "none") << "scripts are no programs";
    EXPECT_EQ(found("nothing"), "none");
    EXPECT_EQ(found(path("second/tool")), path("second/tool.exe"));
}

TEST_F(PathOfProgram, IsNotLookedForInTheCurrentFolder)
{
    write("tool.exe", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    search.set("C:\\none");
    EXPECT_EQ(windows::path_of_program("tool"), std::nullopt);
    EXPECT_NE(windows::path_of_program(".\\tool"), std::nullopt);
    std::filesystem::current_path(before);
}
} // namespace
