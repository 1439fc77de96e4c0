// SPDX-License-Identifier: Apache-2.0
// Reads a trace and checks every line before any is used.
#ifndef MWTRACE_RECORDING_H
#define MWTRACE_RECORDING_H

#include "encoding.h"
#include "recorder.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mwtrace
{

/// A mistake in a trace: "run.jsonl:7: no call has the name MwFoo".
class TraceError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A record of a trace.
struct Record {
    std::string function;
    unsigned thread = 1;
    Json in;
    std::uint32_t result = 0;
    Json got; ///< null if the call wrote nothing
    // Microseconds; null where the trace does not tell.
    std::optional<std::uint64_t> time;  ///< from the beginning of the trace to the call
    std::optional<std::uint64_t> taken; ///< until it had returned
    // Only for a record of message pieces:
    unsigned handle = 0;
    std::uint32_t timeout = 0;
    std::vector<SizeRun> sizes;
    Bytes data;
    bool data_is_null = false;
};

class Recording
{
public:
    /// Reads a whole file. Throws TraceError.
    explicit Recording(std::string path);

    /// The name of the trace in messages.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::size_t size() const { return records_.size(); }
    /// A record, parsed again: only the text of a trace is kept.
    [[nodiscard]] Record record(std::size_t index) const;
    [[nodiscard]] unsigned thread(std::size_t index) const { return records_[index].thread; }
    /// The number of a record's line, from 1.
    [[nodiscard]] std::size_t line(std::size_t index) const { return records_[index].line; }
    /// Whether the file ends inside a line: the recording was truncated.
    [[nodiscard]] bool is_cut() const { return cut_; }

private:
    struct Place {
        std::size_t begin;
        std::size_t length;
        std::size_t line;
        unsigned thread;
    };
    void read_file();
    void check_first_line(std::string_view line) const;
    [[nodiscard]] Record parse(std::string_view line, std::size_t number) const;
    [[noreturn]] void fail(std::size_t line, const std::string& words) const;

    std::string path_;
    std::string text_;
    std::vector<Place> records_;
    bool cut_ = false;
};

} // namespace mwtrace

#endif
