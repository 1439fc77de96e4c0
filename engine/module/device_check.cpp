// SPDX-License-Identifier: Apache-2.0
// Why a module must not be loaded: its device is another one, or not known.
#include "module/device_check.h"

#include "formats/device_match.h"

namespace kvn
{
namespace
{

constexpr const char* BY_ITSELF = " (by its own word)";
constexpr const char* GIVEN = " (as was given)";

/// What follows the slot's name; null for a module that is loaded.
const char* words_of(SlotKind kind)
{
    switch (kind) {
    case SlotKind::empty:
        return " is empty";
    case SlotKind::processor:
        return " holds a processor module, which is not loaded";
    case SlotKind::without_bus:
        return " holds a module without a serial bus";
    default:
        return nullptr;
    }
}

} // namespace

std::string device_in_words(const ModuleName& module, const KnownDevice& device)
{
    return "the module in " + to_text(module) + " has a " + device.name() +
           (device.own.empty() ? GIVEN : BY_ITSELF);
}

std::optional<Failure> unexpected_device(const ModuleName& module, const KnownDevice& device)
{
    if (device.own.empty() || device.given.empty() || device.own == device.given)
        return std::nullopt;
    return Failure{.status = ExitStatus::wrong_device,
                   .what = device_in_words(module, device) + ", not a " + device.given + GIVEN,
                   .remedy = "check the slot, and what is given"};
}

std::optional<Failure> unsuitable_slot(const SlotRow& slot)
{
    const char* const words = words_of(slot.kind);
    if (words == nullptr)
        return std::nullopt;
    return Failure{.status = ExitStatus::no_module,
                   .what = to_text(slot.name) + words,
                   .remedy =
                       "check the slot; kvn list " + to_text(slot.name.board) + " shows what the board has"};
}

std::optional<Failure> unsuitable_file(const std::string& file, const Inspection& inspection,
                                       const ModuleName& module, const KnownDevice& device)
{
    const std::string& part = inspection.part;
    const std::string& name = device.name();
    if (name.empty() || part.empty() || suits_device(name.c_str(), part.c_str()))
        return std::nullopt;
    std::string family;
    if (inspection.other_family != nullptr)
        family = " of the family " + std::string{inspection.other_family->name};
    const bool same_chip = inspection.device != nullptr && inspection.device == fpga::find_device(name);
    return Failure{
        .status = ExitStatus::wrong_device,
        .what = file + " is for a " + part + family + " (by its header); " + device_in_words(module, device),
        .why =
            same_chip ? "the chip is the same, but the library compares the whole name before the dash" : "",
        .remedy = "use the bitstream that was made for the module's device"};
}

Failure not_judged(const std::string& file, const ModuleName& module, const KnownDevice& device,
                   const std::string& why)
{
    return {.status = ExitStatus::rehearsal,
            .what =
                "whether the module in " + to_text(module) + " would start with " + file +
                " cannot be judged: " + (device.name().empty() ? "the module does not name its device" : why),
            .remedy = "load it by force if the file is known to be right"};
}

} // namespace kvn
