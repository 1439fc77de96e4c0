// SPDX-License-Identifier: Apache-2.0
// Runs another program to its end: without a shell, in an environment of its own, for a limited time.
#ifndef KVN_ENGINE_RUN_PROGRAM_H
#define KVN_ENGINE_RUN_PROGRAM_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

struct ProgramCall {
    std::string program; ///< absolute path
    std::vector<std::string> arguments;
    std::string_view input; ///< of its standard input
    /// Contents that it finds at further_file(0), further_file(1) and so on, as files that only it can open.
    std::vector<std::string_view> files;
    std::chrono::milliseconds timeout;
};

/// Where a program finds one of its files.
[[nodiscard]] std::string further_file(std::size_t index);

struct ProgramOutcome {
    int status = -1; ///< its exit status; -1: it was ended, by a signal or by the time-out
    bool timed_out = false;
    std::string output; ///< at most 64 KiB
    std::string errors; ///< the same of standard error
};

/// The program inherits nothing but its three streams and its files. One that closes its streams and goes on
/// is waited for; after the time-out it is killed. May be called in several threads.
/// @throws std::system_error when it cannot be started; std::bad_alloc
[[nodiscard]] ProgramOutcome run_program(const ProgramCall& call);

} // namespace kvn

#endif
