// SPDX-License-Identifier: Apache-2.0
// Words that users may copy into a command line of Windows, and lines that they have written.
#include "run/command_words.h"

#include "system/command_words.h"
#include "system/windows/wide.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <memory>
#include <random>

namespace
{
using testing::ElementsAre;

using Words = std::vector<std::string>;

/// As Windows takes a line apart for a program.
Words words_of_program(const std::string& line)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> found{
        ::CommandLineToArgvW(kvn::system::wide("kvn " + line).c_str(), &count), &::LocalFree};
    Words words;
    for (int i = 1; i < count; ++i)
        words.push_back(kvn::system::narrow(found.get()[i]));
    return words;
}

TEST(WindowsCommandWords, AreQuotedWhereTheShellWouldTakeThemApart)
{
    EXPECT_EQ(kvn::system::command_word("C:\\boards\\design.bit"), "C:\\boards\\design.bit");
    EXPECT_EQ(kvn::system::command_word("C:\\my boards\\design.bit"), "\"C:\\my boards\\design.bit\"");
    EXPECT_EQ(kvn::system::command_word("C:\\my boards\\"), "\"C:\\my boards\\\\\"");
    EXPECT_EQ(kvn::system::command_word(""), "\"\"");
    EXPECT_EQ(kvn::system::command_word("a&b"), "\"a&b\"");
    EXPECT_EQ(kvn::system::command_word("say \"x\""), R"("say \"x\"")");
}

TEST(WindowsCommandWords, LeaveBackslashesOfNamesAlone)
{
    EXPECT_THAT(kvn::split_words(R"(C:\tools\ssh.exe "C:\my tools\x" \\server\share)"),
                ElementsAre(R"(C:\tools\ssh.exe)", R"(C:\my tools\x)", R"(\\server\share)"));
}

TEST(WindowsCommandWords, AreTakenByProgramsAndReadBackAsTheyWere)
{
    constexpr unsigned SEED = 18;
    constexpr int WORDS = 5000;
    std::mt19937 random{SEED};
    const Words pieces{"a", " ", "\"", "\\", "\\\\", "'", "&", "^", "%", "(", "\u00E4", "\u65E5"};
    for (int i = 0; i < WORDS; ++i) {
        std::string word;
        for (auto length = random() % 7; length != 0; --length)
            word += pieces[random() % pieces.size()];
        const std::string quoted = kvn::system::command_word(word);
        ASSERT_THAT(words_of_program(quoted), ElementsAre(word)) << quoted;
        ASSERT_THAT(kvn::split_words(quoted), ElementsAre(word)) << quoted;
    }
}
} // namespace
