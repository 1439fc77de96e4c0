// SPDX-License-Identifier: Apache-2.0
// The standard streams of a program.
#include "system/terminal.h"

#include "support/folder_test.h"
#include "system/process.h"

namespace
{

class StandardStreamsOfAProgram : public FolderTest
{
protected:
    /// How it ends: with 10 if its output and its errors are one text, else with 11. Both lead to pipes of
    /// their own unless said otherwise.
    static std::string judge(const std::string& output, const std::string& errors)
    {
        kvn::system::Process process{{.program = SYSTEM_HELPER, .arguments = {"streams", output, errors}}};
        return process.wait();
    }
};

constexpr const char* ONE_TEXT = "ended with status 10";
constexpr const char* TWO_TEXTS = "ended with status 11";

TEST_F(StandardStreamsOfAProgram, AreOneTextInOnePipe)
{
    EXPECT_EQ(judge("-", "="), ONE_TEXT);
    EXPECT_EQ(judge("-", "-"), TWO_TEXTS);
}

TEST_F(StandardStreamsOfAProgram, AreOneTextInOneFileOpenedOnceOrTwice)
{
    EXPECT_EQ(judge(path("both"), "="), ONE_TEXT);
    EXPECT_EQ(judge(path("both"), path("both")), ONE_TEXT);
    EXPECT_EQ(judge(path("output"), path("errors")), TWO_TEXTS);
    EXPECT_EQ(judge(path("output"), "-"), TWO_TEXTS);
}

TEST_F(StandardStreamsOfAProgram, AreNoTerminalsInPipes)
{
    EXPECT_FALSE(kvn::system::is_terminal(-1));
    write("file", "");
    std::FILE* const file = std::fopen(path("file").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(kvn::system::is_terminal(fileno(file)));
    EXPECT_EQ(kvn::system::terminal_size(fileno(file)), std::nullopt);
    (void)std::fclose(file);
}
} // namespace
