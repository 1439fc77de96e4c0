// SPDX-License-Identifier: Apache-2.0
// Ends the waiting of a thread, from another one or from the handler of a signal.
#ifndef KVN_SYSTEM_WAKE_UP_H
#define KVN_SYSTEM_WAKE_UP_H

#include "system/waiting.h"

#include <memory>

namespace kvn::system
{

/// Ready from signal() to acknowledge(). All operations may be called in several threads at the same time.
class WakeUp
{
public:
    /// @throws std::system_error
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Makes it ready. May be called by the handler of a signal.
    void signal() const noexcept;
    /// Makes it wait for the next signal().
    void acknowledge() const noexcept;
    [[nodiscard]] Waitable waitable() const noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kvn::system

#endif
