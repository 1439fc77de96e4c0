// SPDX-License-Identifier: Apache-2.0
// What the engine finds, as JSON.
#include "report/json.h"

#include "report/module_json.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace kvn
{
namespace
{

Json packets_json(const Inspection& inspection)
{
    if (!inspection.packets || !inspection.packets->sync_bit())
        return nullptr;
    const PacketSummary& summary = *inspection.packets;
    Json registers = Json::array();
    for (const auto& written : summary.registers())
        registers.push_back({{"name", written.name}, {"packets", written.packets}, {"words", written.words}});
    Json commands = Json::array();
    for (const auto& command : summary.commands())
        commands.push_back({{"name", command.name}, {"count", command.count}});
    Json packets = {{"sync_bit", *summary.sync_bit()}};
    packets["idcode"] = summary.idcode() ? Json(in_hex(*summary.idcode())) : Json{};
    packets["registers"] = std::move(registers);
    packets["commands"] = std::move(commands);
    return packets;
}

Json header_json(const Header& header)
{
    return {{"tool", value_or_null(header.tool)},
            {"design", value_or_null(header.design)},
            {"architecture", value_or_null(header.architecture)},
            {"date", value_or_null(header.date)},
            {"time", value_or_null(header.time)},
            {"other", header.other}};
}

Json configuration_json(const Inspection& inspection)
{
    if (!inspection.port)
        return nullptr;
    const fpga::PortReport& port = *inspection.port;
    return {{"starts", port.outcome == fpga::Outcome::done},
            {"outcome", fpga::outcome_name(port.outcome)},
            {"reason", port.reason},
            {"frames", {{"written", port.frames_written}, {"expected", port.frames_expected}}},
            {"crc", {{"verdict", crc_verdict(port)}, {"checks_passed", port.crc_checks_passed}}},
            {"length_count", value_or_null(port.length_count)}};
}

Json device_json(const fpga::Device* device)
{
    if (device == nullptr)
        return nullptr;
    return {{"name", device->name},
            {"family", fpga::family_name(device->family)},
            {"frames", device->frames()},
            {"standard_bits", device->stream_bits()}};
}

Json load_json(const Judgement& judgement, LoadKind kind)
{
    const auto load = std::ranges::find(judgement.loads, kind, &TriedLoad::kind);
    if (load == judgement.loads.end())
        return nullptr;
    return {{"starts", load->trial.starts},
            {"error", load->trial.error},
            {"module", load->trial.module_says},
            {"bus_bytes", load->trial.bytes}};
}

Json judgement_json(const Judgement& judgement)
{
    constexpr const char* answers[] = {"yes", "no", "unknown"};
    return {{"device", judgement.device},
            {kind_name(LoadKind::plain), load_json(judgement, LoadKind::plain)},
            {kind_name(LoadKind::compressed), load_json(judgement, LoadKind::compressed)},
            {"result", answers[static_cast<int>(judgement.answer)]},
            {"words", judgement.words}};
}

} // namespace

const char* failure_kind(ExitStatus status)
{
    switch (status) {
    case ExitStatus::usage:
        return "usage";
    case ExitStatus::file:
        return "file";
    case ExitStatus::damaged:
        return "damaged";
    case ExitStatus::wrong_device:
        return "wrong device";
    case ExitStatus::no_module:
        return "no module";
    case ExitStatus::bus:
        return "bus";
    case ExitStatus::refused:
        return "refused";
    case ExitStatus::several:
        return "several";
    case ExitStatus::rehearsal:
        return "rehearsal";
    case ExitStatus::cancelled:
        return "cancelled";
    case ExitStatus::timed_out:
        return "timed out";
    default:
        return "internal";
    }
}

std::string in_hex(std::uint32_t number)
{
    std::ostringstream text;
    text << std::uppercase << std::hex << std::setw(8) << std::setfill('0') << number;
    return text.str();
}

double run_coded_ratio(const Inspection& inspection)
{
    return static_cast<double>(inspection.run_coded_bytes) * 8 / static_cast<double>(inspection.found_bits);
}

const char* crc_verdict(const fpga::PortReport& port)
{
    if (port.outcome == fpga::Outcome::crc_error)
        return "wrong";
    return port.outcome == fpga::Outcome::done ? "right" : "not reached";
}

std::string unread_packets(const Inspection& inspection)
{
    if (!has_unread_packets(inspection))
        return "";
    return "not read; those of " +
           (inspection.other_family != nullptr ? "the family " + std::string{inspection.other_family->name}
                                               : "this part") +
           " are not known here";
}

Json text_or_null(const std::string& text)
{
    return text.empty() ? Json{} : Json(text);
}

Json problems_json(const std::vector<Problem>& problems)
{
    Json all = Json::array();
    for (const Problem& problem : problems)
        all.push_back({{"what", problem.what}, {"remedy", problem.remedy}, {"fatal", problem.is_fatal()}});
    return all;
}

Json to_json(const Inspection& inspection, const std::optional<Estimate>& estimate)
{
    Json candidates = Json::array();
    for (const fpga::Device* candidate : inspection.candidates)
        candidates.push_back(candidate->name);

    Json json = json_document("inspection");
    json["file"] = inspection.path;
    json["size"] = inspection.file_size;
    json["stored"] = stored_json(inspection.stored);
    json["format"] = format_name(inspection.format());
    json["named"] = format_name(inspection.named);
    json["header"] = header_json(inspection.header);
    json["part"] = inspection.part;
    json["device"] = device_json(inspection.device);
    json["devices_by_data"] = std::move(candidates);
    json["other_family"] = inspection.other_family != nullptr ? Json(inspection.other_family->name) : Json{};
    json["stated_bits"] = value_or_null(inspection.stated_bits);
    json["found_bits"] = inspection.found_bits;
    json["digest"] = text_or_null(inspection.digest);
    json["packets"] = packets_json(inspection);
    json["packets_unread"] = text_or_null(unread_packets(inspection));
    json["configuration"] = configuration_json(inspection);
    json["run_coded"] = nullptr;
    if (inspection.found_bits != 0)
        json["run_coded"] = {{"bytes", inspection.run_coded_bytes}, {"ratio", run_coded_ratio(inspection)}};
    json["bus_time"] = nullptr;
    if (estimate && estimate->bytes_per_second)
        json["bus_time"] = {{"bytes_per_second", *estimate->bytes_per_second},
                            {"plain_seconds", value_or_null(estimate->plain.seconds)},
                            {"compressed_seconds", value_or_null(estimate->compressed.seconds)}};
    json["problems"] = problems_json(inspection.problems);
    return json;
}

Json to_json(const Inspection& inspection, const Judgement& judgement)
{
    Json json = to_json(inspection, std::nullopt);
    json["check"] = judgement_json(judgement);
    return json;
}

Json stored_json(const Input::Stored& stored)
{
    return {{"size", stored.size}, {"sha256", stored.sha256}, {"packing", packing_name(stored.packing)}};
}

Json json_document(const char* kind)
{
    return {{"kvn", kind}, {"version", JSON_VERSION}, {"error", nullptr}};
}

Json failure_json(const Failure& failure)
{
    Json json = json_document("failure");
    json["error"] = {{"kind", failure_kind(failure.status)}};
    json["error"].update(to_json(failure));
    return json;
}

Json help_json(const std::string& text)
{
    Json json = json_document("help");
    json["help"] = text;
    return json;
}

void print_json(std::ostream& out, const Json& json)
{
    constexpr int indent = 2;
    // Header texts may be anything; what is no UTF-8 is replaced.
    out << json.dump(indent, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace kvn
