// SPDX-License-Identifier: Apache-2.0
// Keeps the state of modules in a folder, across processes and for several of them at once.
//
// A module has two files, named by its board type, board number and slot: mwc4a-0-2.json is its state, and
// the beginning of mwc4a-0-2.bits, as long as the state says, its configuration. The state is replaced in one
// step after the bits are written, so that a process that is killed leaves the state before or the one after.
// Choice: docs/decisions/0032-state-of-modules.md.
#ifndef MWVIRTUAL_STATE_STORE_H
#define MWVIRTUAL_STATE_STORE_H

#include "hashing/configuration_digest.h"
#include "module_state.h"
#include "state_folder.h"

#include <memory>

namespace mwvirtual
{

/// A message to a module. While it exists, no process can begin another one to that module. For one thread at
/// a time. The operations throw StateError; after one has, the state is no longer kept, and all do but end().
class StoredMessage
{
public:
    /// A load begins: the module no longer holds what it held.
    /// @return the number of this load
    std::uint64_t begin_load(bool compressed);
    /// Takes the next plain bytes for the FPGA. Written in blocks.
    void take(std::span<const std::uint8_t> configuration);
    /// The load has ended with a verdict. end() follows.
    void judge(Verdict verdict, std::string_view reason);
    /// The message has ended, or is dropped, and the module is free.
    void end();

private:
    friend class StateStore;
    StoredMessage(std::shared_ptr<const StateFolder> folder, Descriptor bits, ModuleState state);

    void write_block();
    void write_state();
    template <class Action>
    void attempt(Action action);

    std::shared_ptr<const StateFolder> folder_;
    Descriptor bits_; ///< with the locks
    ModuleState state_;
    std::vector<std::uint8_t> block_; ///< taken, and not yet written
    hashing::ConfigurationDigest digest_;
    std::string failure_;
};

/// The operations throw StateError and std::bad_alloc.
class StateStore
{
public:
    /// @param folder must exist
    explicit StateStore(std::string folder);

    /// The state of a module; that of an empty one if the folder holds none.
    [[nodiscard]] ModuleState read(const ModuleName& name) const;

    struct Held {
        ModuleState state;
        std::vector<std::uint8_t> configuration; ///< plain bytes, first configuration bit in bit 0
    };
    /// State and configuration, which belong together.
    [[nodiscard]] Held read_all(const ModuleName& name) const;

    /// Whether a process has begun a message to the module, and not ended it. A killed process has not.
    [[nodiscard]] bool is_receiving(const ModuleName& name) const;

    /// How a message is sent.
    enum class Sent { whole, in_pieces };
    /// Begins a message. Processes that send whole messages wait for each other.
    /// @param device of the module in the slot
    /// @return nothing while the module receives another one
    [[nodiscard]] std::unique_ptr<StoredMessage>
    begin_message(const ModuleName& name, const std::string& device, const BoardName& bus, Sent sent) const;
    /// Drops a message that a killed process has left, if it was sent over this bus.
    void drop_left_message(const ModuleName& name, const BoardName& bus) const;

    /// All modules that the folder has files of, in the order of board, number and slot.
    [[nodiscard]] std::vector<ModuleName> modules() const;

    /// Empties all modules, also those whose state is damaged.
    /// @return a module that receives a message: then nothing is emptied
    [[nodiscard]] std::optional<ModuleName> switch_power_off_and_on() const;

private:
    std::shared_ptr<const StateFolder> folder_;
};

} // namespace mwvirtual

#endif
