// SPDX-License-Identifier: Apache-2.0
// Command lines of users of Windows, whose names of files hold backslashes.
#include "run/command_words.h"

#include "errors/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvn
{
namespace
{
using testing::ElementsAre;

TEST(CommandWordsOnWindows, KeepTheBackslashesOfNames)
{
    EXPECT_THAT(split_words(R"(C:\bin\ssh.exe -i "C:\my keys\id" \\host\share bench3\)"),
                ElementsAre(R"(C:\bin\ssh.exe)", "-i", R"(C:\my keys\id)", R"(\\host\share)", R"(bench3\)"));
}

TEST(CommandWordsOnWindows, TakeAQuotationMarkBehindABackslashAsItIs)
{
    EXPECT_THAT(split_words(R"(\"a "b \"c\"")"), ElementsAre("\"a", "b \"c\""));
    EXPECT_THROW((void)split_words(R"(ssh "C:\keys\")"), FailureError) << "the quote is not closed";
}
} // namespace
} // namespace kvn
