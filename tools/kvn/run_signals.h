// SPDX-License-Identifier: Apache-2.0
// SIGINT and SIGTERM, for the loop of a run.
#ifndef KVN_TOOLS_KVN_RUN_SIGNALS_H
#define KVN_TOOLS_KVN_RUN_SIGNALS_H

#include "descriptor.h"
#include "interruption.h"
#include "run/controller.h"

#include <sys/eventfd.h>

namespace kvn
{

/// From its making to its end, as Interruption.
class RunSignals final : public StopSignals
{
public:
    RunSignals() : woken_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}, interruption_{woken_.number()} {}

    [[nodiscard]] int descriptor() const override { return woken_.number(); }
    [[nodiscard]] unsigned count() const override { return Interruption::count(); }
    void acknowledge() const override
    {
        eventfd_t unused = 0;
        (void)::eventfd_read(woken_.number(), &unused);
    }

private:
    mwapi::Descriptor woken_;
    Interruption interruption_;
};

} // namespace kvn

#endif
