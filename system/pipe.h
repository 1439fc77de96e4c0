// SPDX-License-Identifier: Apache-2.0
// The ends of pipes that this process holds: read and written without waiting.
#ifndef KVN_SYSTEM_PIPE_H
#define KVN_SYSTEM_PIPE_H

#include "system/waiting.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string_view>

namespace kvn::system
{

/// What came of an attempt that does not wait.
struct Transfer {
    enum class Result {
        moved, ///< bytes were moved, at least one, except for the end of a file
        waits, ///< none can be moved now
        over   ///< the other end is gone, or the pipe is broken
    };
    Result result = Result::over;
    std::size_t bytes = 0;
};

/// One thread at a time uses an end of a pipe. Closed at the end of its life.
class PipeReader
{
public:
    /// How a system holds it.
    struct State;

    PipeReader();
    explicit PipeReader(std::unique_ptr<State> state);
    ~PipeReader();
    PipeReader(PipeReader&& other) noexcept;
    PipeReader& operator=(PipeReader&& other) noexcept;

    [[nodiscard]] bool is_open() const noexcept { return state_ != nullptr; }
    void close() noexcept;
    /// Reads what is there. Only when it is open.
    [[nodiscard]] Transfer read_some(std::span<char> to);
    /// Ready when read_some() does not wait; none when it is closed.
    [[nodiscard]] Waitable waitable() const noexcept;

private:
    std::unique_ptr<State> state_;
};

/// One thread at a time uses an end of a pipe. Closed at the end of its life; what has not been read by then
/// can be lost, unless is_sending() is false.
class PipeWriter
{
public:
    struct State;

    PipeWriter();
    explicit PipeWriter(std::unique_ptr<State> state);
    ~PipeWriter();
    PipeWriter(PipeWriter&& other) noexcept;
    PipeWriter& operator=(PipeWriter&& other) noexcept;

    [[nodiscard]] bool is_open() const noexcept { return state_ != nullptr; }
    void close() noexcept;
    /// Writes some of the bytes. Only when it is open.
    [[nodiscard]] Transfer write_some(std::string_view bytes);
    /// Writes some bytes of a file, from its position on, and moves that.
    /// @return moved with 0 bytes at the end of the file
    [[nodiscard]] Transfer send_some(std::FILE* file);
    /// Whether bytes that were written are still on their way.
    [[nodiscard]] bool is_sending() const noexcept;
    /// Ready when write_some() does not wait; none when it is closed.
    [[nodiscard]] Waitable waitable() const noexcept;

private:
    std::unique_ptr<State> state_;
};

} // namespace kvn::system

#endif
