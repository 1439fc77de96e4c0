// SPDX-License-Identifier: Apache-2.0
// A session of the library on one bus, for the time of one list or load: silent, without questions, and
// closed on every path.
#ifndef KVN_ENGINE_MODULE_BUS_SESSION_H
#define KVN_ENGINE_MODULE_BUS_SESSION_H

#include "kvnfpgai.h"
#include "module/list.h"
#include "module/wire.h"
#include "provider/thread_platform.h"

namespace kvn
{

/// Belongs to the thread that has made it.
class BusSession
{
public:
    /// @param provider and control must outlive this
    BusSession(const Provider& provider, LoadControl& control);
    /// Closes the bus, and files that nobody took over.
    ~BusSession();
    BusSession(const BusSession&) = delete;
    BusSession& operator=(const BusSession&) = delete;

    /// @return why the bus cannot be opened; null when it is open
    [[nodiscard]] std::optional<Failure> open(const BoardName& board);
    /// What is in a slot, of the open bus' board or of one that the bus reaches. Addresses the session to it.
    [[nodiscard]] SlotRow ask(const ModuleName& module);
    /// The error that the library's last operation ended with.
    [[nodiscard]] Failure failure() const;

    [[nodiscard]] kvn_fpga_imp& core() { return core_; }
    [[nodiscard]] const Wire& wire() const { return wire_; }

private:
    Wire wire_;
    mwapi::UsePlatform use_;
    kvn_fpga_imp core_;
};

} // namespace kvn

#endif
