// SPDX-License-Identifier: Apache-2.0
// Signals to stop that a test sends to itself.
#ifndef KVN_FPGA_TESTS_ENGINE_RUN_TEST_SIGNALS_H
#define KVN_FPGA_TESTS_ENGINE_RUN_TEST_SIGNALS_H

#include "descriptor.h"
#include "run/controller.h"

#include <sys/eventfd.h>

namespace kvn
{

class TestSignals final : public StopSignals
{
public:
    [[nodiscard]] int descriptor() const override { return wake_.number(); }
    [[nodiscard]] unsigned count() const override { return count_; }
    void acknowledge() const override
    {
        eventfd_t unused = 0;
        (void)eventfd_read(wake_.number(), &unused);
    }
    void send(unsigned times = 1)
    {
        count_ += times;
        (void)eventfd_write(wake_.number(), 1);
    }

private:
    mwapi::Descriptor wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    unsigned count_ = 0;
};

} // namespace kvn

#endif
