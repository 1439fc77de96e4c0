// SPDX-License-Identifier: Apache-2.0
// Processes: this one, and those that it starts and talks to through pipes.
#ifndef KVN_SYSTEM_PROCESS_H
#define KVN_SYSTEM_PROCESS_H

#include "system/pipe.h"

#include <memory>
#include <string>
#include <vector>

namespace kvn::system
{

/// The number of this process.
[[nodiscard]] unsigned long own_process_id() noexcept;

/// The program of this process, as it is started again.
[[nodiscard]] std::string own_program();

/// What is started, and how.
struct ProcessStart {
    std::string program;                ///< path, or a name that PATH leads to
    std::vector<std::string> arguments; ///< without the program's name
    bool has_terminal = true;           ///< it may ask a person on the terminal of this process
};

/// A process with three pipes. It does not take part in Ctrl-C, and takes signals as programs do that were
/// started by hand. Its standard input closes when this process ends, however that ends. Of what is open in
/// this process it inherits nothing else. One object is for one thread at a time.
class Process
{
public:
    /// @throws std::system_error when it cannot be started
    explicit Process(const ProcessStart& start);
    /// Kills it, if it runs.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] long id() const noexcept;
    [[nodiscard]] PipeWriter& input() noexcept { return input_; }
    [[nodiscard]] PipeReader& output() noexcept { return output_; }
    [[nodiscard]] PipeReader& errors() noexcept { return errors_; }
    [[nodiscard]] const PipeWriter& input() const noexcept { return input_; }
    [[nodiscard]] const PipeReader& output() const noexcept { return output_; }
    [[nodiscard]] const PipeReader& errors() const noexcept { return errors_; }

    /// Ends it, and what it has started.
    void kill() noexcept;
    /// Waits for its end. To be called after kill(), or when its output is over.
    /// @return "ended with status 3", "was ended by signal 11 (Segmentation fault)"; empty when its end was
    ///         waited for already
    [[nodiscard]] std::string wait();

private:
    struct State;
    std::unique_ptr<State> state_;
    PipeWriter input_;
    PipeReader output_;
    PipeReader errors_;
};

} // namespace kvn::system

#endif
