// SPDX-License-Identifier: Apache-2.0
// Processes that are started, and programs that are run to their end.
#include "system/process.h"

#include "system/program.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <system_error>

namespace
{
using kvn::system::Awaited;
using kvn::system::PipeReader;
using kvn::system::Process;
using kvn::system::Transfer;

std::string all_of(PipeReader& pipe)
{
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        std::array entries{Awaited{.what = pipe.waitable()}};
        (void)kvn::system::wait(entries, -1);
        const Transfer made = pipe.read_some(piece);
        if (made.result == Transfer::Result::over)
            break;
        text.append(piece.data(), made.bytes);
    }
    pipe.close();
    std::erase(text, '\r'); // the helper writes lines as its system does
    return text;
}

/// Writes all, and closes the pipe when it was sent.
void send(Process& process, std::string_view text)
{
    kvn::system::PipeWriter& pipe = process.input();
    while (!text.empty() || pipe.is_sending()) {
        std::array entries{Awaited{.what = pipe.waitable(), .to_write = true}};
        (void)kvn::system::wait(entries, -1);
        const Transfer made = text.empty() ? Transfer{} : pipe.write_some(text);
        ASSERT_TRUE(text.empty() || made.result != Transfer::Result::over);
        text.remove_prefix(made.bytes);
    }
    pipe.close();
}

TEST(Processes, GetTheirArgumentsAsTheyAre)
{
    Process process{{.program = SYSTEM_HELPER,
                     .arguments = {"arguments", "", "two words", "\"quoted\"", "back\\slash", "end\\",
                                   "a b\\", "\\\\\"", "p\u00E4th \u03B1", "*.bit", "%PATH%", "^&|<>"}}};
    EXPECT_EQ(all_of(process.output()), "[]\n[two words]\n[\"quoted\"]\n[back\\slash]\n[end\\]\n[a b\\]\n"
                                        "[\\\\\"]\n[p\u00E4th \u03B1]\n[*.bit]\n[%PATH%]\n[^&|<>]\n");
    process.kill();
    EXPECT_EQ(process.wait(), "ended with status 0");
    EXPECT_EQ(process.id(), -1);
    EXPECT_EQ(process.wait(), "");
}

TEST(Processes, TakeMoreInputThanAPipeHolds)
{
    Process process{{.program = SYSTEM_HELPER, .arguments = {"count"}}};
    send(process, std::string(std::size_t{1} << 20, 'x'));
    EXPECT_EQ(all_of(process.output()), "1048576\n");
}

TEST(Processes, SayHowTheyEnd)
{
    Process process{{.program = SYSTEM_HELPER, .arguments = {"fail"}, .has_terminal = false}};
    EXPECT_EQ(all_of(process.errors()), "it fails\n");
    EXPECT_EQ(all_of(process.output()), "");
    process.kill();
    EXPECT_EQ(process.wait(), "ended with status 3");
}

TEST(Processes, AreKilled)
{
    Process process{{.program = SYSTEM_HELPER, .arguments = {"wait"}}};
    std::array entries{Awaited{.what = process.output().waitable()}};
    EXPECT_TRUE(kvn::system::wait(entries, -1));
    EXPECT_GT(process.id(), 0);
    process.kill();
    EXPECT_TRUE(process.wait().starts_with("was "));
}

TEST(Processes, ThatThereAreNotCannotBeStarted)
{
    try {
        const Process process{{.program = "kvn-no-such-program", .arguments = {}}};
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
    }
}

TEST(Processes, KnowTheirOwnProgram)
{
    EXPECT_EQ(std::filesystem::path{kvn::system::own_program()}.stem(), "system_tests");
    EXPECT_GT(kvn::system::own_process_id(), 0U);
}

TEST(Programs, GetTheirInputAndGiveTheirOutput)
{
    const auto counted = kvn::system::run_program({.program = SYSTEM_HELPER,
                                                   .arguments = {"count"},
                                                   .input = "12345",
                                                   .files = {},
                                                   .timeout = std::chrono::minutes{1}});
    EXPECT_EQ(counted.status, 0);
    EXPECT_EQ(counted.output.substr(0, 1), "5");
    const auto failed = kvn::system::run_program({.program = SYSTEM_HELPER,
                                                  .arguments = {"fail"},
                                                  .input = {},
                                                  .files = {},
                                                  .timeout = std::chrono::minutes{1}});
    EXPECT_EQ(failed.status, 3);
    EXPECT_EQ(failed.errors.substr(0, 8), "it fails");
}

TEST(Programs, AreFoundInTheFoldersThatAreGiven)
{
    const std::filesystem::path helper{SYSTEM_HELPER};
    const auto found = kvn::system::find_program({"/none", helper.parent_path().string()}, "system_helper");
    ASSERT_TRUE(found);
    EXPECT_EQ(std::filesystem::path{*found}.filename(), helper.filename());
    EXPECT_EQ(kvn::system::find_program({helper.parent_path().string()}, "no_such_helper"), std::nullopt);
}
} // namespace
