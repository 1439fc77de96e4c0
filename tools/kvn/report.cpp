// SPDX-License-Identifier: Apache-2.0
// Tells an inspection, to people and as JSON.
#include "report.h"

#include "inspectors.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string_view>

namespace kvn
{
namespace
{

constexpr std::uint64_t LOAD_HEADER_SIZE = 2;

std::string in_hex(std::uint32_t number)
{
    std::ostringstream text;
    text << std::uppercase << std::hex << std::setw(8) << std::setfill('0') << number;
    return text.str();
}

std::string fixed(double number, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

double ratio(const Inspection& inspection)
{
    return static_cast<double>(inspection.run_coded_bytes) * 8 / static_cast<double>(inspection.found_bits);
}

const char* crc_verdict(const fpga::PortReport& port)
{
    if (port.outcome == fpga::Outcome::crc_error)
        return "wrong";
    return port.outcome == fpga::Outcome::done ? "right" : "not reached";
}

/// The lines of a report, a name and a text each.
class Lines
{
public:
    explicit Lines(std::ostream& out) : out_{out} {}
    void add(std::string_view name, const std::string& text)
    {
        constexpr int width = 16;
        out_ << std::left << std::setw(width) << (printable(std::string{name}) + ":") << text << '\n';
    }

private:
    std::ostream& out_;
};

void add_size(Lines& lines, const Inspection& inspection)
{
    if (inspection.stated_bits)
        lines.add("Stated", std::to_string(*inspection.stated_bits) + " bits");
    if (inspection.stated_bits)
        lines.add("Found", std::to_string(inspection.found_bits) + " bits");
    if (inspection.device != nullptr)
        lines.add("Standard size",
                  std::to_string(inspection.device->stream_bits()) + " bits for this device");
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

void add_packets(Lines& lines, const Inspection& inspection)
{
    if (has_unread_packets(inspection))
        lines.add("Packets", unread_packets(inspection));
    if (!inspection.packets || !inspection.packets->sync_bit())
        return;
    const PacketSummary& packets = *inspection.packets;
    lines.add("Sync word", "at bit " + std::to_string(*packets.sync_bit()));
    if (packets.idcode())
        lines.add("Device ID", in_hex(*packets.idcode()));
    std::string registers;
    for (const auto& written : packets.registers()) {
        registers += (registers.empty() ? "" : ", ") + written.name + " " + std::to_string(written.packets);
        if (written.words != written.packets)
            registers += " (" + std::to_string(written.words) + " words)";
    }
    lines.add("Registers", registers.empty() ? "none" : registers);
    std::string commands;
    for (const auto& command : packets.commands()) {
        commands += (commands.empty() ? "" : ", ") + command.name;
        if (command.count != 1)
            commands.append(" ").append(std::to_string(command.count)).append(" times");
    }
    lines.add("Commands", commands.empty() ? "none" : commands);
}

void add_header(Lines& lines, const Inspection& inspection)
{
    const Header& header = inspection.header;
    const auto add = [&lines](const char* name, const std::optional<std::string>& text) {
        if (text)
            lines.add(name, printable(*text));
    };
    add("Tool", header.tool);
    add("Design", header.design);
    add("Architecture", header.architecture);
    add("Date", header.date);
    add("Time", header.time);
    for (const std::string& text : header.other)
        add("Header line", text);
    if (!inspection.part.empty())
        lines.add("Part", printable(inspection.part));
}

void add_device(Lines& lines, const Inspection& inspection)
{
    std::string by_data;
    for (const fpga::Device* candidate : inspection.candidates)
        by_data += (by_data.empty() ? "" : " or ") + device_text(*candidate);
    if (!by_data.empty())
        lines.add("Device", by_data + ", by the data; the header names none");
    else if (inspection.device != nullptr)
        lines.add("Device", device_text(*inspection.device));
    else if (inspection.other_family != nullptr)
        lines.add("Device", "of the family " + std::string{inspection.other_family->name});
    else if (!inspection.part.empty())
        lines.add("Device", "not known");
}

void add_configuration(Lines& lines, const Inspection& inspection)
{
    if (!inspection.port)
        return;
    const fpga::PortReport& port = *inspection.port;
    if (port.length_count)
        lines.add("Length count", std::to_string(*port.length_count));
    lines.add("Frames", std::to_string(port.frames_written) + " of " + std::to_string(port.frames_expected));
    lines.add("CRC", std::string{crc_verdict(port)} + ", " + std::to_string(port.crc_checks_passed) +
                         (port.crc_checks_passed == 1 ? " check passed" : " checks passed"));
    lines.add("Configuration", port.reason);
}

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

Json text_json(const std::optional<std::string>& text)
{
    return text ? Json(*text) : Json{};
}

Json header_json(const Header& header)
{
    return {{"tool", text_json(header.tool)},
            {"design", text_json(header.design)},
            {"architecture", text_json(header.architecture)},
            {"date", text_json(header.date)},
            {"time", text_json(header.time)},
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
            {"length_count", port.length_count ? Json(*port.length_count) : Json{}}};
}

Json json_document()
{
    return {{"kvn", "inspection"}, {"version", JSON_VERSION}};
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

std::string printable(const std::string& text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= ' ' && code != 0x7F && (code < 0x80 || code >= 0xA0))
            shown += c;
        else
            (shown += "\\x") += {digits[code >> 4], digits[code & 0xF]};
    }
    return shown;
}

BusTime bus_time(const Inspection& inspection, double bytes_per_second)
{
    const std::uint64_t data = inspection.found_bits / 8;
    const bool holds_back = holds_back_tail(inspection.part);
    const std::uint64_t tail = !holds_back ? 0 : inspection.format() == Format::mcb ? MCB_TAIL : PLAIN_TAIL;
    const std::uint64_t plain = LOAD_HEADER_SIZE + data - std::min(data, tail);
    const std::uint64_t compressed = LOAD_HEADER_SIZE + inspection.run_coded_bytes;
    return {bytes_per_second, static_cast<double>(plain) / bytes_per_second,
            static_cast<double>(compressed) / bytes_per_second};
}

void print_report(std::ostream& out, const Inspection& inspection, const std::optional<BusTime>& time)
{
    Lines lines{out};
    lines.add("File", printable(inspection.path) + ", " + std::to_string(inspection.file_size) + " bytes");
    lines.add("Format", format_name(inspection.format()));
    add_header(lines, inspection);
    add_device(lines, inspection);
    add_size(lines, inspection);
    add_packets(lines, inspection);
    add_configuration(lines, inspection);
    if (inspection.found_bits != 0)
        lines.add("Run-coded", std::to_string(inspection.run_coded_bytes) + " bytes, " +
                                   fixed(ratio(inspection), 3) + " of the plain size");
    if (time && inspection.found_bits != 0)
        lines.add("Bus time",
                  fixed(time->plain, 3) + " s plain, " + fixed(time->compressed, 3) + " s compressed");
    print_problems(out, inspection);
}

void print_problems(std::ostream& out, const Inspection& inspection)
{
    Lines lines{out};
    for (const Problem& problem : inspection.problems) {
        lines.add(problem.is_fatal() ? "Problem" : "Note", printable(problem.what));
        lines.add("  What to do", printable(problem.remedy));
    }
    if (inspection.problems.empty())
        lines.add("Problems", "none");
}

void print_judgement(std::ostream& out, const Inspection& inspection, const Judgement& judgement)
{
    out << "File:           " << printable(inspection.path) << '\n';
    print_problems(out, inspection);
    for (const TriedLoad& load : judgement.loads)
        out << (load.kind == LoadKind::plain ? "Plain:          " : "Compressed:     ")
            << printable(what_happens(inspection, load.trial)) << '\n';
    constexpr const char* answers[] = {"yes", "no", "cannot be judged"};
    out << "Result:         " << answers[static_cast<int>(judgement.answer)] << ", "
        << printable(judgement.words) << '\n';
}

Json to_json(const Inspection& inspection, const std::optional<BusTime>& time)
{
    Json problems = Json::array();
    for (const Problem& problem : inspection.problems)
        problems.push_back(
            {{"what", problem.what}, {"remedy", problem.remedy}, {"fatal", problem.is_fatal()}});

    Json candidates = Json::array();
    for (const fpga::Device* candidate : inspection.candidates)
        candidates.push_back(candidate->name);

    Json json = json_document();
    json["error"] = nullptr;
    json["file"] = inspection.path;
    json["size"] = inspection.file_size;
    json["format"] = format_name(inspection.format());
    json["named"] = format_name(inspection.named);
    json["header"] = header_json(inspection.header);
    json["part"] = inspection.part;
    json["device"] = device_json(inspection.device);
    json["devices_by_data"] = std::move(candidates);
    json["other_family"] = inspection.other_family != nullptr ? Json(inspection.other_family->name) : Json{};
    json["stated_bits"] = inspection.stated_bits ? Json(*inspection.stated_bits) : Json{};
    json["found_bits"] = inspection.found_bits;
    json["packets"] = packets_json(inspection);
    json["packets_unread"] = has_unread_packets(inspection) ? Json(unread_packets(inspection)) : Json{};
    json["configuration"] = configuration_json(inspection);
    json["run_coded"] = nullptr;
    if (inspection.found_bits != 0)
        json["run_coded"] = {{"bytes", inspection.run_coded_bytes}, {"ratio", ratio(inspection)}};
    json["bus_time"] = nullptr;
    if (time && inspection.found_bits != 0)
        json["bus_time"] = {{"bytes_per_second", time->bytes_per_second},
                            {"plain_seconds", time->plain},
                            {"compressed_seconds", time->compressed}};
    json["problems"] = std::move(problems);
    return json;
}

Json to_json(const Inspection& inspection, const Judgement& judgement)
{
    Json json = to_json(inspection, std::nullopt);
    json["check"] = judgement_json(judgement);
    return json;
}

Json to_json(const Failure& failure)
{
    Json json = json_document();
    json["error"] = {{"kind", failure.kind}, {"what", failure.what}};
    return json;
}

Json help_json(const std::string& text)
{
    Json json = json_document();
    json["error"] = nullptr;
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
