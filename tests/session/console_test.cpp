// SPDX-License-Identifier: Apache-2.0
// Output and questions: the caller's functions, or standard output and input.
#include "support/faults.h"
#include "support/own_stream.h"
#include "support/run_fixture.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>

namespace
{
/// The session without callbacks, on files: what the user types, and what he sees.
class Console : public RunFixture
{
protected:
    Console() { remove_callbacks(session); }
};

TEST_F(Console, PauseWaitsForOneCharacterAfterTwoEmptyLines)
{
    int result = 0;
    int next = 0;
    EXPECT_EQ(output_of("xy",
                        [&] {
                            result = session.Pause();
                            next = std::getchar();
                        }),
              "\n\nPress any key to continue . . .\n");
    EXPECT_EQ(result, 'x');
    EXPECT_EQ(next, 'y');
}

TEST_F(Console, HelpWaitsForACharacterAfterEachPage)
{
    int result = 0;
    const std::string output = output_of("abc", [&] { result = session.kvn_fpga_help(); });
    EXPECT_EQ(result, 'c');
    EXPECT_NE(output.find("override the environmental settings.\n\nPress any key to continue . . .\nUsing "
                          "KVN_FPGA:\n"),
              std::string::npos);
}

TEST_F(Console, AYesNoQuestionGivesTheFirstCharacterOfTheLine)
{
    const struct {
        const char* typed;
        int result;
    } rows[] = {{"Yes\n", 'Y'}, {"no\n", 'n'}, {"\n", '\0'}, {"y\n", 'y'},
                {" y\n", ' '},  {"y", 'y'},    {"", '\0'},   {"\xFF\n", -1}};
    for (const auto& row : rows) {
        int result = 0x55;
        EXPECT_EQ(output_of(row.typed, [&] { result = session.xask_yn("Use it [y/n]?"); }),
                  "Use it [y/n]?\n");
        EXPECT_EQ(result, row.result) << row.typed;
    }
}

TEST_F(Console, CountsOnlyTheLowByteOfTheYesNoFunction)
{
    session.kvn_fpga_set_userfie([](char*, void*) { return 0x179; }, 2);
    EXPECT_EQ(session.xask_yn("?"), 'y');
    session.kvn_fpga_set_userfie([](char*, void*) { return 0x1FF; }, 2);
    EXPECT_EQ(session.xask_yn("?"), -1);
}

TEST_F(Console, PrintsATextAsItStands)
{
    EXPECT_EQ(output_of("", [&] { session.xprint("100% of %s%n%d %% \\ <a%n.rbt>\n"); }),
              "100% of %s%n%d %% \\ <a%n.rbt>\n");
}

// The buffer of a print holds 1024 bytes.
TEST_F(Console, PrintsATextOfAnyLengthWhole)
{
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 5000U}) {
        const std::string text(length, 'x');
        EXPECT_EQ(output_of("", [&] { session.print("%s", text.c_str()); }), text);
    }
}

TEST_F(Console, PromptWritesALineAndReadsOneCharacter)
{
    int first = 0;
    int second = 0;
    int third = 0;
    EXPECT_EQ(output_of("\nq",
                        [&] {
                            first = session.xprompt("Press return to continue.");
                            second = session.xprompt("Again.");
                            third = session.xprompt("And again.");
                        }),
              "Press return to continue.\nAgain.\nAnd again.\n");
    EXPECT_EQ(first, '\n');
    EXPECT_EQ(second, 'q');
    EXPECT_EQ(third, EOF);
}

TEST_F(Console, AsksForALineBehindAMarkAndCutsItToTheAnswer)
{
    const std::pair<std::string, std::string> rows[] = {
        {"  my design.rbt \nnext\n", "  my design.rbt "},
        {"design", "design"},
        {"", ""},
        {std::string(255, 'a') + '\n', std::string(255, 'a')},
        {std::string(5000, 'a') + "\nnext\n", std::string(255, 'a')}};
    for (const auto& [typed, expected] : rows) {
        char answer[256] = "before";
        char next[256] = "before";
        EXPECT_EQ(output_of(typed,
                            [&] {
                                session.xaskstring("Which file?", answer);
                                session.xaskstring("And then?", next);
                            }),
                  "Which file?\n> And then?\n> ");
        EXPECT_EQ(answer, expected);
        EXPECT_STREQ(next, typed.ends_with("\nnext\n") ? "next" : "");
    }
}

TEST_F(Console, TellsALineFromTheEndOfTheInput)
{
    output_of("design\n\nlast", [&] {
        char answer[256];
        for (const int result : {1, 1, 1, 0, 0})
            EXPECT_EQ(session.xaskstring("Which file?", answer), result);
    });
}

TEST_F(Console, CutsABoardTypeAt31Characters)
{
    session.slot = 0x5A;
    for (const std::size_t length : {31U, 32U}) {
        output_of(std::string(length, 'b') + '\n', [&] { session.xaskstring("?", session.board_type); });
        EXPECT_EQ(session.board_type, std::string(31, 'b'));
        EXPECT_EQ(session.slot, 0x5A) << "the field behind the board type was written";
    }
}

TEST_F(Console, DropsTheRestOfALongAnswerToAYesNoQuestion)
{
    output_of("n" + std::string(1000, 'y') + "\ny\n", [&] {
        EXPECT_EQ(session.xask_yn("First?"), 'n');
        EXPECT_EQ(session.xask_yn("Second?"), 'y');
    });
}

/// An input that notes how much of the output had arrived when it was read.
class WatchingInput : public StreamBacking
{
public:
    explicit WatchingInput(std::string& seen) : seen_{seen} {}

    std::ptrdiff_t read(char* buffer, std::size_t size) override
    {
        seen_ = read_whole_file("output");
        return static_cast<std::ptrdiff_t>(std::string_view{"y\n"}.copy(buffer, size));
    }
    std::size_t write(const char* /*data*/, std::size_t /*size*/) override { return 0; }

private:
    std::string& seen_;
};

TEST_F(Console, ShowsEverythingBeforeItWaitsForAnAnswer)
{
    const auto seen_while = [](const std::function<void()>& question) {
        std::string seen;
        const StandardStreams streams{open_own_stream(std::make_unique<WatchingInput>(seen), "rb"),
                                      std::fopen("output", "wb")};
        question();
        return seen;
    };
    EXPECT_EQ(seen_while([&] {
                  session.xprint("text ");
                  session.xprompt("Press return.");
              }),
              "text Press return.\n");
    EXPECT_EQ(seen_while([&] {
                  session.xprint("text\n");
                  session.xask_yn("Use it?");
              }),
              "text\nUse it?\n");
    EXPECT_EQ(seen_while([&] { session.xaskstring("Which?", session.bitstream_file); }), "Which?\n> ");
}

TEST_F(Console, ShowsEveryPercentageInDigits)
{
    std::string expected;
    const std::string shown = output_of("", [&] {
        for (const std::int32_t percent :
             {0, 7, 10, 99, 100, -1, -120, std::numeric_limits<std::int32_t>::max(),
              std::numeric_limits<std::int32_t>::min()}) {
            session.show_progress(percent);
            expected += "\r% Done: " + std::to_string(percent);
        }
    });
    EXPECT_EQ(shown, expected);
}

TEST_F(Console, KeepsProgressInAFileOrPipeUntilTheStreamIsFull)
{
    write_file("input");
    {
        const StandardStreams streams{std::fopen("input", "rb"), std::fopen("output", "wb")};
        session.xprint("\r% Done: 7");
        session.xprint("\n");
        EXPECT_EQ(std::filesystem::file_size("output"), 0U);
    }
    EXPECT_EQ(std::filesystem::file_size("output"), 11U);
}

using Callbacks = RunFixture;

TEST_F(Callbacks, GetTextsAsTheyStandAndGiveTheResults)
{
    key = 'k';
    answer("design");
    answer("Y");
    session.xprint("100% %s%n\n");
    EXPECT_EQ(session.xprompt("Press return."), 'k');
    EXPECT_EQ(session.xaskstring("Which?", session.bitstream_file), 0);
    EXPECT_EQ(session.xask_yn("Use it?"), 'Y');
    EXPECT_EQ(session.Pause(), 'k');
    EXPECT_STREQ(session.bitstream_file, "design");
    EXPECT_EQ(transcript(), R"(
| 100% %s%n\n
?key Press return.
?line Which?
! design
?yn Use it?
! Y
?key \n\nPress any key to continue . . .
)");
}

TEST_F(Callbacks, HaveRoomFor256BytesWhateverTheField)
{
    session.slot = 0x5A;
    answer(std::string(255, 'b'));
    session.xaskstring("?", session.board_type);
    EXPECT_EQ(session.board_type, std::string(31, 'b'));
    EXPECT_EQ(session.slot, 0x5A) << "the field behind the board type was written";
    answer(std::string(255, 'f'));
    session.xaskstring("?", session.bitstream_file);
    EXPECT_EQ(session.bitstream_file, std::string(255, 'f'));
}

TEST_F(Callbacks, MayLeaveTheAnswerAsItIs)
{
    std::strcpy(session.bitstream_file, "before");
    session.kvn_fpga_set_userfie([](char*, void*) { return 7; }, 1);
    EXPECT_EQ(session.xaskstring("?", session.bitstream_file), 7);
    EXPECT_STREQ(session.bitstream_file, "before");
}

TEST_F(Callbacks, DoNoHarmWithAnAnswerThatIsNotEnded)
{
    session.kvn_fpga_set_userfie(
        [](char*, void* answer) {
            std::memset(answer, 'x', 256);
            return 0;
        },
        1);
    session.xaskstring("?", session.bitstream_file);
    EXPECT_EQ(session.bitstream_file, std::string(255, 'x'));
}

TEST_F(Callbacks, GetALongTextInOneCall)
{
    const std::string text(3000, 'x');
    session.print("<%s>\n", text.c_str());
    EXPECT_EQ(prints(), std::vector<std::string>{"<" + text + ">\\n"});
}

TEST_F(Callbacks, GetTheBeginningOfALongTextWhenThereIsNoMemory)
{
    const FaultScope scope;
    fail_allocation_at(1);
    session.print("<%s>\n", std::string(3000, 'x').c_str());
    EXPECT_EQ(prints(), std::vector<std::string>{"<" + std::string(1022, 'x')});
}
} // namespace
