// Programs run as processes: to their end, or on a terminal of their own.
#ifndef KVN_FPGA_TESTS_TOOLS_PROCESS_H
#define KVN_FPGA_TESTS_TOOLS_PROCESS_H

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// What is run: a program with its arguments, a folder and the variables that matter to it.
struct Command {
    std::string program;
    std::vector<std::string> arguments;
    std::filesystem::path folder;
    /// Added to the environment, from which KVN_..., MWAPI... and MWVIRTUAL_... have been removed.
    std::map<std::string, std::string> variables;
};

/// Where a program's standard output leads.
enum class Output {
    kept,           ///< into the outcome
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

/// For a child between fork and exec: takes signals as a program started by hand does, also when those who
/// started the tests ignore or block some.
void take_signals();

/// A program on a terminal of its own, which shows output and errors and echoes nothing.
class Terminal
{
public:
    explicit Terminal(const Command& command);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Reads until the text has been shown. A failure when the program ends, or stays silent, before.
    void expect(std::string_view text);
    void type(std::string_view keys);
    /// Reads to the end of the program. @return its exit status, or 128 and the signal
    int finish();
    /// All that was shown.
    [[nodiscard]] const std::string& shown() const { return shown_; }

private:
    bool read_more();

    pid_t child_ = -1;
    int master_ = -1;
    std::string shown_;
    std::size_t seen_ = 0;
};

#endif
