// SPDX-License-Identifier: Apache-2.0
// What the modules of a plan say of themselves, bus by bus. No load is sent.
#ifndef KVN_ENGINE_RUN_INVENTORY_H
#define KVN_ENGINE_RUN_INVENTORY_H

#include "module/list.h"
#include "plan/plan.h"
#include "report/json.h"

#include <span>
#include <vector>

namespace kvn
{

/// The answers of one bus, that is, of everything behind one opened board.
struct BusInventory {
    BoardName bus;
    /// Why the bus as a whole tells nothing: it cannot be opened, another run has it, its worker died.
    std::optional<Failure> failure = {};
    std::vector<SlotRow> slots = {}; ///< one for each module that was asked; empty with a failure

    /// Null when the module was not asked.
    [[nodiscard]] const SlotRow* find(const ModuleName& module) const;
};

/// The buses of a plan, in the order of their first modules.
[[nodiscard]] std::vector<BoardName> buses_of(std::span<const PlannedModule> modules);
/// The modules that are reached over a bus, in the order of the plan, each once.
[[nodiscard]] std::vector<ModuleName> modules_on(const BoardName& bus,
                                                 std::span<const PlannedModule> modules);

/// Opens the bus once, asks each module what it is, and closes the bus. A module that does not answer is a
/// row with its failure; the others follow. Blocks as long as the provider's calls do.
/// @param modules all reached over this bus
/// @throws FailureError (ExitStatus::usage) for a name out of range; std::bad_alloc, with the bus closed
[[nodiscard]] BusInventory take_inventory(const Provider& provider, const BoardName& bus,
                                          std::span<const ModuleName> modules);

/// {"bus": "mwc4a:0", "failure": null or {...}, "slots": [...]}; slots as to_json(const SlotRow&) writes
/// them.
[[nodiscard]] Json to_json(const BusInventory& inventory);
/// The opposite, for answers of workers: any JSON may come.
/// @throws FailureError (ExitStatus::internal) for what is no inventory; std::bad_alloc
[[nodiscard]] BusInventory read_bus_inventory(const Json& json);
/// The opposite of to_json(const ModuleIdentity&). Throws as above.
[[nodiscard]] ModuleIdentity read_module_identity(const Json& json);
/// The opposite of to_json(const SlotRow&). Throws as above.
[[nodiscard]] SlotRow read_slot_row(const Json& json);

} // namespace kvn

#endif
