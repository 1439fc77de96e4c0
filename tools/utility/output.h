// SPDX-License-Identifier: Apache-2.0
// Standard output of the utility: what is written when, and whether a line is open.
#ifndef KVN_TOOLS_UTILITY_OUTPUT_H
#define KVN_TOOLS_UTILITY_OUTPUT_H

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string_view>

namespace utility
{

/// The longest time that progress stays unwritten while more of it is printed.
inline constexpr std::chrono::milliseconds PROGRESS_INTERVAL{200};

/// Gathers texts and writes them to a descriptor. On a terminal each text is written at once and shows
/// control characters escaped. Elsewhere all bytes are written as they are, complete lines at once and others
/// (progress) at most every PROGRESS_INTERVAL. Bytes that cannot be written are dropped.
///
/// rescue() may interrupt every other operation; otherwise one thread uses it.
class Output
{
public:
    using Clock = std::chrono::steady_clock::time_point (*)();

    Output(int descriptor, bool is_terminal, Clock now = &std::chrono::steady_clock::now)
        : descriptor_{descriptor}, is_terminal_{is_terminal}, now_{now}, written_at_{now()}
    {
    }

    /// Prints a text of the library. A carriage return at its beginning is never escaped.
    void print(std::string_view text);
    /// Writes a question, unchanged and at once, after everything printed before it.
    void ask(std::string_view question);
    void flush();

    /// Whether the last character was not a line feed.
    [[nodiscard]] bool has_open_line() const { return last_ != '\n'; }
    /// Whether an open line ends in a question.
    [[nodiscard]] bool ends_in_question() const { return asked_; }
    /// Notes that something else has ended the open line.
    void note_closed_line() { last_ = '\n'; }
    /// errno of the last write that failed, 0 if none.
    [[nodiscard]] int problem() const { return problem_; }

    /// Writes what is gathered, unless a write is under way or would block. Async-signal-safe.
    void rescue();

private:
    void gather(std::string_view part);
    void write_all(const char* data, std::size_t size);

    const int descriptor_;
    const bool is_terminal_;
    const Clock now_;
    std::chrono::steady_clock::time_point written_at_;
    // As much as a pipe takes in one piece.
    std::array<char, 4096> gathered_;
    volatile std::sig_atomic_t size_ = 0;
    volatile std::sig_atomic_t writing_ = 0;
    volatile std::sig_atomic_t last_ = '\n';
    bool asked_ = false;
    int problem_ = 0;
};

} // namespace utility

#endif
