// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM, for what waits in system::wait().
#ifndef KVN_TOOLS_KVN_INTERRUPTION_SIGNALS_H
#define KVN_TOOLS_KVN_INTERRUPTION_SIGNALS_H

#include "interruption.h"
#include "run/controller.h"
#include "system/wake_up.h"

namespace kvn
{

/// As Interruption: there is one at a time.
class InterruptionSignals final : public StopSignals
{
public:
    InterruptionSignals() : interruption_{&woken_} {}

    [[nodiscard]] system::Waitable waitable() const override { return woken_.waitable(); }
    [[nodiscard]] unsigned count() const override { return Interruption::count(); }
    void acknowledge() const override { woken_.acknowledge(); }

private:
    system::WakeUp woken_;
    Interruption interruption_;
};

} // namespace kvn

#endif
