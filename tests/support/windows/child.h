// SPDX-License-Identifier: Apache-2.0
// Handles, and programs as children of this process.
#ifndef KVN_FPGA_TESTS_SUPPORT_WINDOWS_CHILD_H
#define KVN_FPGA_TESTS_SUPPORT_WINDOWS_CHILD_H

#include "support/process.h"

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

/// @throws std::system_error with the calling thread's last error
void check(bool good, const char* what);

/// The two ends of a pipe. Children inherit neither.
struct Pipe {
    Pipe();
    Handle reader;
    Handle writer;
};

/// Opens a file that children inherit. @param access GENERIC_READ or GENERIC_WRITE
Handle open_inherited(const std::filesystem::path& file, DWORD access);

/// The standard streams of a child; null for one that it does not get.
struct Streams {
    HANDLE input;
    HANDLE output;
    HANDLE errors;
};

/// Starts a program.
/// @param streams the handles that it inherits besides `more`, or null when it gets those of its console
/// @param console a console made by CreatePseudoConsole; null for none of its own
/// @return null when there is no such program
Handle start(const Command& command, const Streams* streams, const std::vector<HANDLE>& more = {},
             void* console = nullptr);

/// Waits for a program's end. @return its exit status
int wait_for(HANDLE child);

#endif
