// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM, for what waits in poll(2).
#ifndef KVN_TOOLS_KVN_INTERRUPTION_SIGNALS_H
#define KVN_TOOLS_KVN_INTERRUPTION_SIGNALS_H

#include "interruption.h"
#include "run/controller.h"
#include "system/descriptor.h"

#include <sys/eventfd.h>

namespace kvn
{

/// As Interruption: there is one at a time.
class InterruptionSignals final : public StopSignals
{
public:
    InterruptionSignals() : woken_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}, interruption_{woken_.number()}
    {
    }

    [[nodiscard]] int descriptor() const override { return woken_.number(); }
    [[nodiscard]] unsigned count() const override { return Interruption::count(); }
    void acknowledge() const override
    {
        eventfd_t unused = 0;
        (void)::eventfd_read(woken_.number(), &unused);
    }

private:
    kvn::system::Descriptor woken_;
    Interruption interruption_;
};

} // namespace kvn

#endif
