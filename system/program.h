// SPDX-License-Identifier: Apache-2.0
// Runs another program to its end: without a shell, in an environment of its own, for a limited time.
#ifndef KVN_SYSTEM_PROGRAM_H
#define KVN_SYSTEM_PROGRAM_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvn::system
{

struct ProgramCall {
    std::string program; ///< absolute path
    std::vector<std::string> arguments;
    std::string_view input; ///< of its standard input
    /// Contents that it finds at further_file(0), further_file(1) and so on, as files that no other user can
    /// change.
    std::vector<std::string_view> files;
    std::chrono::milliseconds timeout;
};

/// The argument that leads a program to one of its files.
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

/// The folders in which the programs of the system are, those first that win.
[[nodiscard]] std::vector<std::string> program_folders();

/// Looks for a program in folders.
/// @param name without an extension that the system adds
/// @return its path; null when none of them has one that may be started
[[nodiscard]] std::optional<std::string> find_program(const std::vector<std::string>& folders,
                                                      const std::string& name);

} // namespace kvn::system

#endif
