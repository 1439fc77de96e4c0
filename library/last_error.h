// SPDX-License-Identifier: Apache-2.0
// What the last call left: of a thread, and of a session.
#ifndef KVN_LIBRARY_LAST_ERROR_H
#define KVN_LIBRARY_LAST_ERROR_H

#include "errors/failure.h"

#include <array>
#include <cstddef>

namespace kvn::c_interface
{

/// Of a session, in full. Its texts are UTF-8.
class LastError
{
public:
    void clear() noexcept;
    /// Without memory it becomes that failure.
    void set(const Failure& failure) noexcept;
    void set_no_memory() noexcept;

    /// The texts are valid until the next change. Never null.
    [[nodiscard]] const char* what() const noexcept;
    [[nodiscard]] const char* why() const noexcept { return failure_.why.c_str(); }
    [[nodiscard]] const char* remedy() const noexcept { return failure_.remedy.c_str(); }
    [[nodiscard]] int number() const noexcept { return failure_.number; }

private:
    Failure failure_ = {.status = ExitStatus::done};
    bool no_memory_ = false;
};

/// Of a thread: its texts may be cut. It needs no memory and nothing is done at the end of its thread, so
/// that a call of any thread can leave an error.
struct ThreadError {
    static constexpr std::size_t LONGEST = 500;
    using Text = std::array<char, LONGEST + 1>;

    int number;
    Text what;
    Text why;
    Text remedy;

    void clear() noexcept;
    void set(int number_, const char* what_, const char* why_, const char* remedy_) noexcept;
};

/// That of the calling thread.
ThreadError& thread_error() noexcept;

} // namespace kvn::c_interface

#endif
