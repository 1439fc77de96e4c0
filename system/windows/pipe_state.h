// SPDX-License-Identifier: Apache-2.0
// An end of a pipe has one transfer under way, to or from a block of its own, which a thread of the system
// ends.
#ifndef KVN_SYSTEM_WINDOWS_PIPE_STATE_H
#define KVN_SYSTEM_WINDOWS_PIPE_STATE_H

#include "system/pipe.h"
#include "system/windows/api.h"
#include "system/windows/readiness.h"

#include <array>
#include <cstddef>

namespace kvn::system
{

namespace windows
{

inline constexpr std::size_t PIPE_BLOCK = std::size_t{64} << 10;

struct PipeEnd;

/// What leads from a transfer to its pipe.
struct PipeTransfer : OVERLAPPED {
    PipeEnd* end = nullptr;
};

/// A handle with at most one transfer under way. Its members are used under the board's mutex.
struct PipeEnd {
    explicit PipeEnd(Handle opened);
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;

    /// Called on a thread of the system, under the board's mutex.
    virtual void on_end(DWORD error, std::size_t bytes) = 0;
    /// @return what a call that begins a transfer takes
    [[nodiscard]] OVERLAPPED* new_transfer();
    /// Notes what that call has returned.
    void note_begun(BOOL result);
    /// To be called before on_end() cannot be called any more.
    void cut_off();

    Handle handle;
    PipeTransfer transfer{};
    bool is_under_way = false;
    bool is_over = false;
    Readiness readiness;
    std::array<char, PIPE_BLOCK> block; // NOLINT(cppcoreguidelines-pro-type-member-init)

protected:
    ~PipeEnd() = default;
};

/// The ends of a new pipe.
struct Pipe {
    Handle own;    ///< for transfers that do not wait
    Handle others; ///< for another process, which may inherit it
};
enum class PipeUse { own_reads, own_writes };
/// @throws std::system_error
[[nodiscard]] Pipe make_pipe(PipeUse use);

} // namespace windows

struct PipeReader::State final : windows::PipeEnd {
    explicit State(windows::Handle opened);
    ~State() { cut_off(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    void begin();
    void on_end(DWORD error, std::size_t bytes) override;

    std::size_t first = 0; ///< of what the block holds
    std::size_t last = 0;
};

struct PipeWriter::State final : windows::PipeEnd {
    explicit State(windows::Handle opened);
    ~State() { cut_off(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    void begin(std::size_t bytes);
    void on_end(DWORD error, std::size_t bytes) override;
};

} // namespace kvn::system

#endif
