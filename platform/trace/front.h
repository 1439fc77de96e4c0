// What a library's platform functions stand in front of, and whether they record.
//
// mwapi_traced.cpp defines the sixteen functions once; each library that contains it says by front() where
// they lead.
#ifndef MWTRACE_FRONT_H
#define MWTRACE_FRONT_H

#include "functions.h"
#include "recorder.h"

#include <memory>
#include <string>

namespace mwtrace
{

struct Front {
    Functions functions;
    /// Null: the calls are handed through and nothing is written.
    std::unique_ptr<Recorder> recorder;
    /// Why there are no functions, and what to do; empty when there are.
    std::string problem;
};

/// Made at the first call. It is never destroyed: the host may call until its very end.
Front& front();

/// A recorder that writes to the file that an environment variable names, and what it gathered at the end of
/// the process; null when the variable is not set or empty.
std::unique_ptr<Recorder> recorder_from_environment(const char* variable, std::string_view provider);

} // namespace mwtrace

#endif
