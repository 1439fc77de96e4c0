// SPDX-License-Identifier: Apache-2.0
// A fixture for runs of the session: a temporary folder, a platform, callbacks, one log for all that happens.
//
// What the session prints and asks stands in the platform's log, between the calls:
//
//     | Searching for KAVRIN-FPGA and KAVRIN-IO modules\n          printed
//     ?key Press return to continue.                               a wait for a key
//     ?line Enter the name of the bitstream RBT, MCB, or BIT file: a question for a line, and
//     ?yn Is this the module you want to load (y/n)?               for yes or no, each followed by
//     ! y                                                          the answer
//     * GetBoardInfo "mwc4a" 0                                     a platform call
#ifndef KVN_FPGA_TESTS_SUPPORT_RUN_FIXTURE_H
#define KVN_FPGA_TESTS_SUPPORT_RUN_FIXTURE_H

#include "kvn_fpga.h"
#include "kvnfpgai.h"
#include "support/bytes.h"
#include "support/descriptors.h"
#include "support/environment.h"
#include "support/fake_platform.h"
#include "support/files.h"
#include "support/row_names.h"
#include "support/standard_streams.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <deque>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

/// What a run came to: the number returned and what the session holds of it.
struct Result {
    int number;
    std::string text;
    int last_error;

    friend bool operator==(const Result&, const Result&) = default;
    friend void PrintTo(const Result& result, std::ostream* out);
};

/// EXPECT_EQ(load(), Fails("Error 9103. Bitstream ..."));
Result Fails(std::string text);
/// The same for a text that does not state its number.
Result Fails(int number, std::string text);
/// EXPECT_EQ(load(), Succeeds());
Result Succeeds();

/// The log's line for a text handed to the print function.
std::string printed(std::string_view text);
std::string asked_key(std::string_view text);
std::string asked_line(std::string_view text);
std::string asked_yn(std::string_view text);
std::string answered(std::string_view text);

class RunFixture : public testing::Test
{
public:
    RunFixture();
    ~RunFixture() override;

protected:
    /// Every file and every handle that the run opened must be closed by now.
    void TearDown() override;

    /// Writes a file into the temporary folder.
    static void write_file(const std::string& name, std::string_view content = "");
    static std::string read_file(const std::string& name);
    static bool file_exists(const std::string& name);

    /// What is written to standard output while the user types `input` on standard input.
    template <class Action>
    static std::string output_of(std::string_view input, Action action)
    {
        write_file("input", input);
        {
            const StandardStreams streams{std::fopen("input", "rb"), std::fopen("output", "wb")};
            action();
        }
        return read_file("output");
    }

    /// Queues an answer to a question for a line or for yes or no. Without one a question fails the test.
    void answer(const std::string& text) { answers.push_back(text); }

    /// What a call of an operation of `session` came to.
    Result result(int number) const { return {number, session.last_error_text, session.last_error}; }

    /// Runs a command line, without its argv[0], through `session`.
    Result run(std::vector<std::string> arguments, MW_HANDLE* handle = nullptr);
    /// The same by the entry point that takes no handle.
    Result run_without_handle(std::vector<std::string> arguments);

    /// Opens the bus of a board in `session` without a trace in the log, for tests of single steps.
    void open_bus(const std::string& type, std::uint16_t number);
    /// Closes what a single step left open on purpose.
    void close_bus();
    void close_files();

    /// Installs the logging callbacks in a session or in a public object.
    template <class Object>
    static void install_callbacks(Object& object)
    {
        object.kvn_fpga_set_userprint(&on_print);
        object.kvn_fpga_set_userfie(&on_key, 0);
        object.kvn_fpga_set_userfie(&on_line, 1);
        object.kvn_fpga_set_userfie(&on_yn, 2);
    }
    /// Takes all callbacks away again: the session then uses standard output and input.
    template <class Object>
    static void remove_callbacks(Object& object)
    {
        object.kvn_fpga_set_userprint(nullptr);
        for (int type = 0; type <= 2; ++type)
            object.kvn_fpga_set_userfie(nullptr, type);
    }

    /// All that happened so far, in order.
    [[nodiscard]] const std::vector<std::string>& log() const { return platform.log; }
    void clear_log() { platform.log.clear(); }
    /// What was printed, asked and answered: the log without the platform's lines.
    [[nodiscard]] std::vector<std::string> console() const;
    /// The same on lines of their own, for comparison with a raw literal that begins and ends with a line
    /// feed.
    [[nodiscard]] std::string transcript() const { return joined(log()); }
    [[nodiscard]] std::string console_transcript() const { return joined(console()); }
    [[nodiscard]] std::string bus_transcript() const { return joined(bus()); }
    [[nodiscard]] static std::string joined(const std::vector<std::string>& lines);
    /// The platform calls alone.
    [[nodiscard]] std::vector<std::string> bus() const { return platform.journal(); }
    /// The printed lines alone, without their "| ".
    [[nodiscard]] std::vector<std::string> prints() const;

    EnvironmentVariable mwapiksb{"MWAPIKSB"};
    EnvironmentVariable mwapijtag{"MWAPIJTAG"};
    TemporaryFolder folder;
    CurrentFolder in_folder{folder.path()};
    FakePlatform platform;
    kvn_fpga_imp session;
    std::deque<std::string> answers;
    /// What the function that waits for a key returns.
    int key = 0;

private:
    static void on_print(char* text);
    static int on_key(char* text, void* nothing);
    static int on_line(char* text, void* answer);
    static int on_yn(char* text, void* nothing);
    std::string next_answer(std::string_view question);

    static thread_local RunFixture* current_;
    std::size_t descriptors_before_ = 0;
};

#endif
