// SPDX-License-Identifier: Apache-2.0
// Writes platform calls to a trace: JSON, a line for each record.
#ifndef MWTRACE_RECORDER_H
#define MWTRACE_RECORDER_H

#include "encoding.h"
#include "mwapi.h"
#include "system/regular_file.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
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

/// The number of consecutive pieces of this length.
struct SizeRun {
    std::uint64_t count;
    std::uint32_t length;
};

/// A piece of a message, as given to the platform.
struct DataCall {
    unsigned handle;
    const void* data;
    std::uint32_t length;
    std::uint32_t timeout;
};

/// May be used by several threads. The first failure is reported on standard error; the recording then ends,
/// and nothing more is recorded.
class Recorder
{
public:
    /// @param path a regular file, or a name for one; anything else is a failure
    /// @param provider the name of what is recorded, for the first line
    Recorder(std::string path, std::string_view provider);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    [[nodiscard]] Time now() const;

    /// The number of a handle: 0 for null, the next number for an unknown one.
    unsigned number_of(const MW_HANDLE* handle);
    /// Gives a new handle its number, even if its address was in use before.
    unsigned opened(const MW_HANDLE* handle);
    void closed(const MW_HANDLE* handle);

    void add(std::string_view function, const Span& span, const Json& in, std::uint32_t result,
             const Json& got);
    /// Adds a piece of a message. Consecutive pieces without failure are one record.
    void add_data(const DataCall& call, const Span& span, std::uint32_t result);

    /// Writes what is still gathered.
    void flush();
    /// Performs an action for the recording, which ends if the action throws.
    template <class Action>
    void attempt(Action action) noexcept
    {
        try {
            action();
        } catch (const std::bad_alloc&) {
            give_up("no memory is left");
        } catch (const std::exception& error) {
            give_up(error.what());
        }
    }

private:
    /// The unwritten pieces of a thread's message.
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
    void give_up(const char* reason) noexcept;
    void stop(const char* reason) noexcept;

    std::string path_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
    kvn::system::RegularFile file_;
    bool has_ended_ = false;
    std::map<std::uint64_t, Thread> threads_;
    std::map<const MW_HANDLE*, unsigned> handles_;
    unsigned last_handle_ = 0;
};

/// A number that this process gives to no other thread, even later.
[[nodiscard]] std::uint64_t thread_identity();

/// A recorder to the file that an environment variable names. It is flushed when the process ends.
/// @return null if the variable is unset or empty, or if no memory is left, which is reported
std::unique_ptr<Recorder> recorder_from_environment(const char* variable, std::string_view provider);

} // namespace mwtrace

#endif
