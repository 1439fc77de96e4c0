// kvn check: whether a module would start with a bitstream file.
#include "commands.h"
#include "families.h"
#include "formats/device_match.h"
#include "report.h"
#include "trial.h"

#include <iostream>
#include <memory>
#include <stdexcept>

namespace kvn
{
namespace
{

struct Request {
    std::string file;
    std::string device;
    std::vector<LoadKind> loads{LoadKind::plain, LoadKind::compressed};
    bool json = false;
};

struct TriedLoad {
    LoadKind kind;
    Trial trial;
};

struct Judgement {
    std::string device; ///< that the modules of the trials had
    std::vector<TriedLoad> loads;
    ExitStatus status = UNKNOWN;
    std::string words;
};

const char* kind_name(LoadKind kind)
{
    return kind == LoadKind::plain ? "plain" : "compressed";
}

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
    const bool is_same_chip = known != nullptr && known == inspection.device;
    const std::string difference =
        is_same_chip ? "; the chip is the same, but the library compares the whole name before the dash" : "";
    inspection.problems.push_back({"the file is for a " + text(inspection.part, inspection.device) +
                                       "; the module has a " + text(device, known) + difference,
                                   "use the bitstream that was made for the module's device"});
}

Judgement judge(const Request& request, const Inspection& inspection)
{
    Judgement judgement;
    judgement.device = request.device.empty() ? inspection.part : request.device;
    const fpga::Device* device = fpga::find_device(judgement.device);
    if (is_tried(device) && judgement.device.size() <= LONGEST_DEVICE_NAME) {
        bool starts = true;
        for (const LoadKind kind : request.loads) {
            judgement.loads.push_back({kind, try_load(request.file, judgement.device, kind)});
            starts = starts && judgement.loads.back().trial.starts;
        }
        judgement.status = starts ? YES : NO;
        judgement.words =
            "a module with a " + judgement.device + (starts ? " would start" : " would not start");
        return judgement;
    }
    const std::string family = other_family(judgement.device);
    if (!family.empty()) {
        judgement.status = NO;
        judgement.words = "no module carries a " + judgement.device + " (" + family + ")";
    } else if (inspection.has_fatal_problem()) {
        judgement.status = NO;
        judgement.words = "no module would start";
    } else {
        judgement.words = judgement.device.empty() ? "the file names no device; name the module's by --device"
                                                   : "no device " + judgement.device + " is known";
    }
    return judgement;
}

std::string load_text(const Inspection& inspection, const Trial& trial)
{
    if (!trial.starts)
        return trial.module_says.empty() ? trial.error : trial.error + " The module: " + trial.module_says;
    const std::uint64_t found = inspection.found_bits / 8;
    const std::string held_back = trial.loaded < found
                                      ? ", without the last " + std::to_string(found - trial.loaded) +
                                            " bytes, which the library holds back"
                                      : "";
    return "starts, after " + std::to_string(trial.bytes) + " bytes on the bus" + held_back;
}

void print_judgement(const Inspection& inspection, const Judgement& judgement)
{
    std::cout << "File:           " << printable(inspection.path) << '\n';
    print_problems(std::cout, inspection);
    for (const TriedLoad& load : judgement.loads)
        std::cout << (load.kind == LoadKind::plain ? "Plain:          " : "Compressed:     ")
                  << printable(load_text(inspection, load.trial)) << '\n';
    constexpr const char* answers[] = {"yes", "no", "cannot be judged"};
    std::cout << "Result:         " << answers[judgement.status] << ", " << printable(judgement.words)
              << '\n';
}

Json judgement_json(const Judgement& judgement)
{
    constexpr const char* answers[] = {"yes", "no", "unknown"};
    Json json = {{"device", judgement.device}};
    for (const TriedLoad& load : judgement.loads)
        json[kind_name(load.kind)] = {{"starts", load.trial.starts},
                                      {"error", load.trial.error},
                                      {"module", load.trial.module_says},
                                      {"bus_bytes", load.trial.bytes}};
    json["result"] = answers[judgement.status];
    json["words"] = judgement.words;
    return json;
}

int check(const Request& request)
{
    Inspection inspection = inspect(request.file);
    if (!request.device.empty())
        compare_devices(inspection, request.device);
    const Judgement judgement = judge(request, inspection);
    if (request.json) {
        Json json = to_json(inspection, std::nullopt);
        json["check"] = judgement_json(judgement);
        print_json(std::cout, json);
    } else {
        print_judgement(inspection, judgement);
    }
    return judgement.status;
}

} // namespace

Action add_check(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    auto load = std::make_shared<std::string>("both");
    CLI::App* command = program.add_subcommand(
        "check", "Tells whether a module would start: exit status 0 yes, 1 no, 2 cannot be judged");
    command->add_option("file", request->file, "The RBT, BIT or MCB file")->required();
    command->add_option("--device", request->device,
                        "The module's device, such as 2v3000fg676-4; default: the one that the file names");
    command->add_option("--load", *load, "The kind of load that must succeed")
        ->check(CLI::IsMember({"plain", "compressed", "both"}))
        ->capture_default_str();
    command->add_flag("--json", request->json, "Print JSON");
    return [request, load] {
        if (*load != "both")
            request->loads = {*load == "plain" ? LoadKind::plain : LoadKind::compressed};
        return check(*request);
    };
}

} // namespace kvn
