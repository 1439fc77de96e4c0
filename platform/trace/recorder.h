// SPDX-License-Identifier: Apache-2.0
// Writes platform calls to a trace: JSON, a line for each record.
#ifndef MWTRACE_RECORDER_H
#define MWTRACE_RECORDER_H

#include "encoding.h"
#include "mwapi.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mwtrace
{

/// Microseconds since the trace began.
using Time = std::uint64_t;

/// When a call began and when it returned.
struct Span {
    Time begin;
    Time end;
};

/// How often pieces of this length were sent one after the other.
struct SizeRun {
    std::uint64_t count;
    std::uint32_t length;
};

/// A piece of a message that is being sent, as it was given to the platform.
struct DataCall {
    unsigned handle;
    const void* data;
    std::uint32_t length;
    std::uint32_t timeout;
};

/// May be used by several threads. What goes wrong is told once on standard error; then the recording ends
/// and the calls go on.
class Recorder
{
public:
    /// @param provider the name of what is recorded, for the first line
    Recorder(std::string path, std::string_view provider);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    [[nodiscard]] Time now() const;

    /// The number of a handle: 0 for none, the next number for one that was never seen.
    unsigned number_of(const MW_HANDLE* handle);
    /// Gives a new handle its number, whatever its address stood for before.
    unsigned opened(const MW_HANDLE* handle);
    void closed(const MW_HANDLE* handle);

    void add(std::string_view function, const Span& span, const Json& in, std::uint32_t result,
             const Json& got);
    /// Adds a piece of a message. Pieces that follow each other without failure are one record.
    void add_data(const DataCall& call, const Span& span, std::uint32_t result);

    /// Writes what is still gathered.
    void flush();
    /// Ends the recording for a reason.
    void give_up(const char* reason) noexcept;

private:
    /// The pieces of a thread's message that are not written yet.
    struct Pieces {
        unsigned handle = 0;
        std::uint32_t timeout = 0;
        Span span{};
        std::vector<SizeRun> sizes;
        Bytes data;
    };
    struct Thread {
        unsigned number = 0;
        Pieces pieces;
    };

    Thread& this_thread();
    void write_pieces(Thread& thread);
    void write_record(const Thread& thread, const Span& span, std::string_view function, const Json& in,
                      std::uint32_t result, const Json& got);
    void write_line(std::string line);
    void stop(const std::string& reason);

    std::string path_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
    int file_ = -1;
    std::map<std::uint64_t, Thread> threads_;
    std::map<const MW_HANDLE*, unsigned> handles_;
    unsigned last_handle_ = 0;
};

/// A number that no other thread of this process has or had.
[[nodiscard]] std::uint64_t thread_identity();

/// A recorder that writes to the file that an environment variable names, and what it gathered at the end of
/// the process; null when the variable is not set or empty.
std::unique_ptr<Recorder> recorder_from_environment(const char* variable, std::string_view provider);

} // namespace mwtrace

#endif
