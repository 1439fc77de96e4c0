// SPDX-License-Identifier: Apache-2.0
// A descriptor that this process was given, read together with other things that are waited for.
#ifndef KVN_SYSTEM_INCOMING_H
#define KVN_SYSTEM_INCOMING_H

#include "system/waiting.h"

#include <memory>
#include <optional>
#include <span>

namespace kvn::system
{

/// Reads a descriptor of any kind: a pipe, a terminal, a file. Nothing else may read it meanwhile; bytes that
/// have arrived and were not read by the end of the object can be lost. One object is for one thread at a
/// time.
class Incoming
{
public:
    /// @param descriptor of the C run-time; it must outlive the object, and stays open
    /// @throws std::system_error
    explicit Incoming(int descriptor);
    ~Incoming();
    Incoming(const Incoming&) = delete;
    Incoming& operator=(const Incoming&) = delete;

    /// Reads what is there. Waits if that is nothing.
    /// @return the bytes read, 0 at the end; null on an error, with its number in errno: EINTR or EAGAIN when
    ///         it may be tried again
    [[nodiscard]] std::optional<std::size_t> read_some(std::span<char> to);
    /// Forgets what was typed on a terminal and not read yet.
    void discard() noexcept;
    /// Ready when read_some() does not wait.
    [[nodiscard]] Waitable waitable() const noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kvn::system

#endif
