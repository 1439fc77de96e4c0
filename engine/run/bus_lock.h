// SPDX-License-Identifier: Apache-2.0
// One run at a time on a bus: a locked file for each, which says who holds it.
#ifndef KVN_ENGINE_RUN_BUS_LOCK_H
#define KVN_ENGINE_RUN_BUS_LOCK_H

#include "module/module_name.h"
#include "module/provider.h"
#include "system/descriptor.h"

#include <optional>
#include <string>
#include <variant>

namespace kvn
{

/// Who holds a bus. What the file does not tell is empty.
struct BusHolder {
    std::string process;
    std::string user;
    std::string program;
    std::string since; ///< "2026-11-22T03:44:37.125Z"

    /// "process 4711 of pat (kvn run) since 2026-11-22T03:44:37.125Z"
    [[nodiscard]] std::string text() const;
};

/// Where the files of the locks are: KVN_LOCK_FOLDER, else /run/lock, else XDG_RUNTIME_DIR, else /tmp, the
/// first that this process may write to. KVN_LOCK_FOLDER is not questioned.
[[nodiscard]] std::string lock_folder();

/// Before the name of a bus in the names of files: which boards are meant. Those of hardware have an empty
/// one. Virtual boards are the process's own unless a folder keeps their state: then they are those of the
/// folder.
/// @param state_folder MWVIRTUAL_STATE; null or empty: none
/// @return null when nobody else can reach the boards, so that no lock is needed
[[nodiscard]] std::optional<std::string> lock_prefix(const ProviderIdentity& provider,
                                                     const char* state_folder);

/// A bus that is ours until the object ends, at the latest until the process does. The file stays.
class BusLock
{
public:
    /// Takes the lock, and writes who holds it. Does not wait.
    /// @param folder lock_folder()
    /// @param prefix lock_prefix()
    /// @param program that takes it, "kvn run"
    /// @return the lock, or who holds it
    /// @throws FailureError (ExitStatus::file) when the file cannot be made, or is no regular file
    [[nodiscard]] static std::variant<BusLock, BusHolder> take(const std::string& folder,
                                                               const std::string& prefix,
                                                               const BoardName& bus,
                                                               const std::string& program);

private:
    explicit BusLock(system::Descriptor file) : file_{std::move(file)} {}

    system::Descriptor file_;
};

} // namespace kvn

#endif
