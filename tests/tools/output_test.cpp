// SPDX-License-Identifier: Apache-2.0
// When the utility writes what has been printed.
#include "output.h"

#include "support/descriptors.h"
#include "support/files.h"
#include "support/special_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace
{
std::chrono::steady_clock::time_point time_of_test;

class Output : public testing::Test
{
protected:
    Output() { time_of_test = {}; }
    ~Output() override { close(descriptor); }

    static void pass(int milliseconds) { time_of_test += std::chrono::milliseconds{milliseconds}; }
    [[nodiscard]] std::string written() const { return read_whole_file(folder.path() / "log"); }

    TemporaryFolder folder;
    int descriptor = open_for_writing((folder.path() / "log").string());
    utility::Output log{descriptor, false, [] { return time_of_test; }};
    utility::Output terminal{descriptor, true, [] { return time_of_test; }};
};

TEST_F(Output, CompleteLinesAreWrittenAtOnce)
{
    log.print("found in slot ");
    EXPECT_EQ(written(), "");
    log.print("1.\n");
    EXPECT_EQ(written(), "found in slot 1.\n");
}

TEST_F(Output, ProgressIsWrittenWhenAFifthOfASecondHasPassed)
{
    log.print("\r% Done: 1");
    pass(199);
    log.print("\r% Done: 2");
    EXPECT_EQ(written(), "");
    pass(1);
    log.print("\r% Done: 3");
    EXPECT_EQ(written(), "\r% Done: 1\r% Done: 2\r% Done: 3");
    pass(199);
    log.print("\r% Done: 4");
    EXPECT_EQ(written(), "\r% Done: 1\r% Done: 2\r% Done: 3") << "counted from the last write";
}

TEST_F(Output, ATerminalIsShownEachText)
{
    terminal.print("\r% Done: 1");
    EXPECT_EQ(written(), "\r% Done: 1");
}

TEST_F(Output, AQuestionIsWrittenAtOnceBehindAllBeforeIt)
{
    log.print("found in slot ");
    log.ask("1?\n> ");
    EXPECT_EQ(written(), "found in slot 1?\n> ");
    EXPECT_TRUE(log.ends_in_question());
    EXPECT_TRUE(log.has_open_line());
    log.print("more");
    EXPECT_FALSE(log.ends_in_question());
}

TEST_F(Output, TextsOfAnyLengthAreWrittenWholeAndInOrder)
{
    std::string expected;
    for (const std::size_t size : {1U, 4095U, 4096U, 1U, 4097U, 20000U}) {
        const std::string text(size, static_cast<char>('a' + expected.size() % 26));
        log.print(text);
        expected += text;
    }
    log.flush();
    EXPECT_EQ(written(), expected);
}

TEST_F(Output, WhatIsGatheredCanBeRescued)
{
    log.rescue();
    log.print("\r% Done: 1");
    log.rescue();
    EXPECT_EQ(written(), "\r% Done: 1");
}

TEST_F(Output, RemembersWhyItCouldNotWrite)
{
    const int full = open_for_writing(FULL_FILE);
    utility::Output lost{full, false};
    lost.print("gathered");
    EXPECT_EQ(lost.problem(), 0);
    lost.flush();
    EXPECT_EQ(lost.problem(), ENOSPC);
    lost.flush();
    EXPECT_EQ(lost.problem(), ENOSPC);
    close(full);
}

TEST_F(Output, EscapesWhatATerminalMayObey)
{
    terminal.print("\r\x1B[1m\tname\r\x7F\n");
    terminal.print("\x80\x9F\xA0 \xC2\x80\xC2\x9F\xC2\xA0 \xE2\x82\xAC\xF0\x9F\x98\x80 \xC3\n");
    EXPECT_EQ(written(), "\r\\x1B[1m\tname\\x0D\\x7F\n"
                         "\\x80\\x9F\xA0 \\xC2\\x80\\xC2\\x9F\xC2\xA0 \xE2\x82\xAC\xF0\x9F\x98\x80 \xC3\n");
}
} // namespace
