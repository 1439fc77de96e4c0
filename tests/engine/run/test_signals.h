// SPDX-License-Identifier: Apache-2.0
// Signals to stop that a test sends to itself.
#ifndef KVN_FPGA_TESTS_ENGINE_RUN_TEST_SIGNALS_H
#define KVN_FPGA_TESTS_ENGINE_RUN_TEST_SIGNALS_H

#include "run/controller.h"
#include "system/wake_up.h"

namespace kvn
{

class TestSignals final : public StopSignals
{
public:
    [[nodiscard]] system::Waitable waitable() const override { return wake_.waitable(); }
    [[nodiscard]] unsigned count() const override { return count_; }
    void acknowledge() const override { wake_.acknowledge(); }
    void send(unsigned times = 1)
    {
        count_ += times;
        wake_.signal();
    }

private:
    system::WakeUp wake_;
    unsigned count_ = 0;
};

} // namespace kvn

#endif
