// SPDX-License-Identifier: Apache-2.0
// The process of a worker, as its controller holds it: started, talked to without waiting, ended.
#ifndef KVN_ENGINE_RUN_WORKER_PROCESS_H
#define KVN_ENGINE_RUN_WORKER_PROCESS_H

#include "file/input.h"
#include "run/line_splitter.h"
#include "system/process.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// What is started as a worker.
struct WorkerProgram {
    std::string program;                     ///< path, or a name that PATH leads to
    std::vector<std::string> arguments = {}; ///< without the program's name
    /// The user's words that lead to another host, where the worker runs; empty: it runs on this one.
    std::string via = {};
};

/// It has a process group of its own, so that Ctrl-C does not reach it, and takes signals as programs do that
/// were started by hand. Its standard input closes when the controller ends, however it ends. Of what is open
/// in this process it inherits nothing else. One on another host has no terminal either: what leads there
/// must not ask.
class WorkerProcess
{
public:
    /// @throws FailureError when it cannot be started: ExitStatus::internal, for one on another host
    ///         ExitStatus::usage
    explicit WorkerProcess(const WorkerProgram& program);
    /// Kills it, if it runs.
    ~WorkerProcess() = default;
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    [[nodiscard]] long id() const { return process_.id(); }

    // For system::wait(); none when closed.
    [[nodiscard]] system::Waitable input() const { return process_.input().waitable(); }
    [[nodiscard]] system::Waitable output() const { return process_.output().waitable(); }
    [[nodiscard]] system::Waitable errors() const { return process_.errors().waitable(); }

    /// Puts a line, or the content of a file, behind what is to be sent.
    void send(std::string line);
    /// @param content kept until it is sent
    void send(const Input& content);
    [[nodiscard]] bool has_to_send() const { return !outgoing_.empty() || process_.input().is_sending(); }
    /// Bytes that were sent so far.
    [[nodiscard]] std::uint64_t sent() const { return sent_; }
    /// Sends what can be sent without waiting. A worker that does not listen any more is noticed by its
    /// output.
    void write_some();
    /// Closes its standard input when everything is sent: it ends then.
    void end_input();

    /// Reads what is there. @return false at the end
    [[nodiscard]] bool read_output(LineSplitter& to) { return read_some(process_.output(), to); }
    [[nodiscard]] bool read_errors(LineSplitter& to) { return read_some(process_.errors(), to); }

    void kill() { process_.kill(); }
    /// Waits for the end of a process that was killed or has closed its output.
    /// @return "ended with status 3", "was ended by signal 11 (Segmentation fault)"
    [[nodiscard]] std::string wait() { return process_.wait(); }

private:
    /// A line, or a file with what is left of it.
    struct Outgoing {
        std::string line = {};
        std::size_t written = 0;
        std::optional<File> file = {};
    };

    [[nodiscard]] static bool read_some(system::PipeReader& from, LineSplitter& to);
    [[nodiscard]] system::Transfer write_front();

    system::Process process_;
    std::deque<Outgoing> outgoing_;
    std::uint64_t sent_ = 0;
    bool ends_ = false;
};

} // namespace kvn

#endif
