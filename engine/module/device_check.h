// SPDX-License-Identifier: Apache-2.0
// Why a module must not be loaded: its device is another one, or not known.
#ifndef KVN_ENGINE_MODULE_DEVICE_CHECK_H
#define KVN_ENGINE_MODULE_DEVICE_CHECK_H

#include "errors/failure.h"
#include "file/inspection.h"
#include "module/list.h"
#include "module/module_name.h"

#include <optional>
#include <string>

namespace kvn
{

/// What is known of a module's device, and by whom.
struct KnownDevice {
    std::string own;   ///< by the module's own word; empty: it names none
    std::string given; ///< by the user; empty: none

    /// The module's word counts for more. Empty: not known.
    [[nodiscard]] const std::string& name() const { return own.empty() ? given : own; }
};

/// "the module in mwc4a:0/2 has a 2v40cs144-4 (by its own word)", or "(as was given)".
[[nodiscard]] std::string device_in_words(const ModuleName& module, const KnownDevice& device);

/// @return null unless the module names another device than the user
[[nodiscard]] std::optional<Failure> unexpected_device(const ModuleName& module, const KnownDevice& device);

/// Why there is nothing to load in a slot whose module was asked what it is; null for a module that is
/// loaded.
/// @param slot without a failure
[[nodiscard]] std::optional<Failure> unsuitable_slot(const SlotRow& slot);

/// Names are compared as the library compares them.
/// @param file its name
/// @param inspection of the file
/// @return null when the file is for the module's device, or one of them is not known
[[nodiscard]] std::optional<Failure> unsuitable_file(const std::string& file, const Inspection& inspection,
                                                     const ModuleName& module, const KnownDevice& device);

/// For a load that nobody can say to succeed.
/// @param why in words; not used for a device that is not known
[[nodiscard]] Failure not_judged(const std::string& file, const ModuleName& module, const KnownDevice& device,
                                 const std::string& why);

} // namespace kvn

#endif
