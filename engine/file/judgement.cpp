// SPDX-License-Identifier: Apache-2.0
// Whether a module would start with a bitstream file.
#include "file/judgement.h"

#include "formats/device_match.h"

#include <algorithm>

namespace kvn
{
namespace
{

bool is_tried(const fpga::Device* device)
{
    return device != nullptr && device->carried_by_modules();
}

/// Names both devices when the file is for another one than the module's.
void compare_devices(Inspection& inspection, const std::string& device)
{
    const fpga::Device* known = fpga::find_device(device);
    if (known == nullptr || inspection.part.empty() || suits_device(device.c_str(), inspection.part.c_str()))
        return;
    const auto text = [](const std::string& name, const fpga::Device* found) {
        return found == nullptr ? name : name + ", a " + device_text(*found);
    };
    const std::string difference =
        known == inspection.device
            ? "; the chip is the same, but the library compares the whole name before the dash"
            : "";
    inspection.problems.push_back({"the file is for a " + text(inspection.part, inspection.device) +
                                       "; the module has a " + text(device, known) + difference,
                                   "use the bitstream that was made for the module's device", Stops::loads,
                                   ExitStatus::wrong_device});
}

bool fails(const std::vector<TriedLoad>& loads, LoadKind kind)
{
    return std::ranges::any_of(
        loads, [kind](const TriedLoad& load) { return load.kind == kind && !load.trial.starts; });
}

/// Whether a problem stops one of the loads that failed. One that was expected to stop a load, and did not,
/// is a note.
bool explains(const Problem& problem, const std::vector<TriedLoad>& loads)
{
    switch (problem.stops) {
    case Stops::nothing:
        return false;
    case Stops::plain_loads:
        return fails(loads, LoadKind::plain);
    case Stops::loads:
        return fails(loads, LoadKind::plain) || fails(loads, LoadKind::compressed);
    default:
        return true;
    }
}

/// The trials are the truth: problems and result must not contradict each other.
void settle(Inspection& inspection, const std::vector<TriedLoad>& loads)
{
    for (Problem& problem : inspection.problems)
        if (!explains(problem, loads))
            problem.stops = Stops::nothing;
    if (inspection.has_fatal_problem())
        return;
    const auto failed = std::ranges::find_if(loads, [](const TriedLoad& load) { return !load.trial.starts; });
    if (failed != loads.end())
        inspection.problems.push_back({std::string{"a "} + kind_name(failed->kind) +
                                           " load fails: " + what_happens(inspection, failed->trial),
                                       "see docs/errors.md for the error's number"});
}

/// Tries the loads on a module with the device.
void try_loads(const Input& input, Format format, Inspection& inspection, Judgement& judgement,
               const std::vector<LoadKind>& loads)
{
    for (const LoadKind kind : loads)
        judgement.loads.push_back({kind, try_load(input, format, judgement.device, kind)});
    settle(inspection, judgement.loads);
    const bool starts = !inspection.has_fatal_problem();
    const bool is_refused = std::ranges::any_of(
        inspection.problems, [](const Problem& problem) { return problem.stops == Stops::use; });
    judgement.answer = starts ? Answer::yes : Answer::no;
    judgement.words =
        is_refused ? "the file must not be loaded"
                   : "a module with a " + judgement.device + (starts ? " would start" : " would not start");
}

} // namespace

const char* kind_name(LoadKind kind)
{
    return kind == LoadKind::plain ? "plain" : "compressed";
}

std::string what_happens(const Inspection& inspection, const Trial& trial)
{
    if (!trial.starts)
        return trial.module_says.empty() ? trial.error : trial.error + " The module: " + trial.module_says;
    const auto stated = static_cast<std::uint64_t>(inspection.counted_bits.value_or(0)) / 8;
    const std::string held_back = trial.loaded < stated
                                      ? ", without the last " + std::to_string(stated - trial.loaded) +
                                            " bytes, which the library holds back"
                                      : "";
    return "starts, after " + std::to_string(trial.bytes) + " bytes on the bus" + held_back;
}

Judgement judge(const Input& input, Inspection& inspection, const std::string& device_name,
                const std::vector<LoadKind>& loads, Selection selection)
{
    Judgement judgement;
    judgement.device = device_name.empty() ? inspection.part : device_name;
    if (!device_name.empty())
        compare_devices(inspection, device_name);
    const fpga::Device* device = fpga::find_device(judgement.device);
    const bool is_by_name = selection == Selection::by_name && input.name_states_format();
    const Format format = is_by_name ? inspection.named : inspection.format();
    const bool has_loader = is_by_name || format != Format::unknown;
    if (has_loader && is_tried(device) && judgement.device.size() <= LONGEST_DEVICE_NAME) {
        try_loads(input, format, inspection, judgement, loads);
        return judgement;
    }
    if (const OtherFamily* family = other_family(judgement.device)) {
        const std::string problem = "no module carries a " + judgement.device;
        if (!inspection.has_fatal_problem())
            inspection.problems.push_back({problem, "give the device of the module by --device", Stops::loads,
                                           ExitStatus::wrong_device});
        judgement.answer = Answer::no;
        judgement.words = problem;
        judgement.words.append(" (").append(family->name).append(")");
    } else if (inspection.has_fatal_problem()) {
        judgement.answer = Answer::no;
        judgement.words = "no module would start";
    } else {
        judgement.words = judgement.device.empty() ? "the file names no device; name the module's by --device"
                                                   : "no device " + judgement.device + " is known";
    }
    return judgement;
}

std::optional<Failure> failure_of(const Inspection& inspection, const Judgement& judgement)
{
    if (judgement.answer == Answer::yes)
        return std::nullopt;
    Failure failure{.status = ExitStatus::damaged, .what = inspection.path + ": " + judgement.words};
    if (judgement.answer == Answer::unknown) {
        failure.status = ExitStatus::usage;
        failure.why = "the device is not known";
        failure.remedy = "name the module's device";
    } else if (const Problem* fatal = first_fatal(inspection.problems)) {
        failure.status = fatal->status;
        failure.why = fatal->what;
        failure.remedy = fatal->remedy;
    }
    return failure;
}

} // namespace kvn
