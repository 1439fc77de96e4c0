// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM: the first ends a command after what is under way, the second cuts that off.
#ifndef KVN_TOOLS_KVN_INTERRUPTION_H
#define KVN_TOOLS_KVN_INTERRUPTION_H

#include "module/load.h"
#include "system/wake_up.h"

namespace kvn
{

/// From its making to its end the two signals are noted and do not end the process, unless they are ignored
/// already. A third one does. There is one at a time.
class Interruption
{
public:
    /// @param load withdrawn by the first signal, cancelled by the second; may be null: then the second
    ///        signal ends the process
    explicit Interruption(LoadControl* load = nullptr);
    /// @param wake_up is signalled by each signal; then the second does not end the process. It must outlive
    ///        this.
    explicit Interruption(const system::WakeUp* wake_up);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// While nothing is under way, a signal says nothing of it.
    static void set_idle(bool idle);

    /// How many signals have come.
    [[nodiscard]] static unsigned count();

    /// The first signal that came: "SIGINT", "SIGTERM"; null for none.
    [[nodiscard]] static const char* signal_name();

    /// What a command ends with: its own status, or ExitStatus::cancelled, which is told, after a signal.
    [[nodiscard]] static ExitStatus status_after(ExitStatus status);
};

} // namespace kvn

#endif
