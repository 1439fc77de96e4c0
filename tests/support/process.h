// SPDX-License-Identifier: Apache-2.0
// Programs run as processes: to their end, until they are stopped, or on a terminal of their own.
#ifndef KVN_FPGA_TESTS_SUPPORT_PROCESS_H
#define KVN_FPGA_TESTS_SUPPORT_PROCESS_H

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What is run: a program with its arguments, a folder and the variables that matter to it.
struct Command {
    std::string program; ///< a path, or a name that PATH leads to
    std::vector<std::string> arguments;
    std::filesystem::path folder = ".";
    /// Added to the environment, from which KVN_..., MWAPI... and MWVIRTUAL_... have been removed.
    std::map<std::string, std::string> variables = {};
};

/// Whether a variable of the test's own environment, NAME=VALUE, reaches the program.
bool inherits(const Command& command, std::string_view variable);

/// SIGKILL, for which not every system has a name: the program ends at once.
inline constexpr int KILL = 9;

/// Where a program's standard output leads.
enum class Output {
    kept,           ///< into the outcome
    with_errors,    ///< into the outcome's output, and standard error with it
    closed,         ///< nowhere: the descriptor is closed, and that of standard input too
    full,           ///< to a device without space
    without_reader, ///< into a pipe that nobody reads
};

struct Outcome {
    int status; ///< exit status, or 128 and the signal
    std::string output;
    std::string errors;
};

/// Runs a program to its end. Its standard input holds the answers and then ends.
Outcome run(const Command& command, std::string_view answers = "", Output output = Output::kept);

/// A program that runs, without input and output, until it is stopped.
class Running
{
public:
    explicit Running(const Command& command);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Sends a signal and waits for the end. @return the exit status, or 128 and the signal that ended it
    int stop(int signal);

private:
    class Process;
    std::unique_ptr<Process> process_;
};

/// A program on a terminal of its own, which shows output and errors and echoes nothing.
class Terminal
{
public:
    explicit Terminal(const Command& command);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Reads until the text has been shown.
    /// @throws std::runtime_error when the program ends, or stays silent, before
    void expect(std::string_view text);
    void type(std::string_view keys);
    /// Sends the program a signal.
    void signal(int number) const;
    /// The process's number.
    [[nodiscard]] int process() const;
    /// Reads to the end of the program. @return its exit status, or 128 and the signal
    int finish();
    /// All that was shown.
    [[nodiscard]] const std::string& shown() const { return shown_; }

private:
    bool read_more();

    class Process;
    std::unique_ptr<Process> process_;
    std::string shown_;
    std::size_t seen_ = 0;
};

#endif
