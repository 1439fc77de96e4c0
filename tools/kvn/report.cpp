// Tells an inspection, to people and as JSON.
#include "report.h"

#include "kvnfpgai.h"

#include <iomanip>
#include <ostream>
#include <sstream>
#include <string_view>

namespace kvn
{
namespace
{

constexpr std::uint64_t LOAD_HEADER_SIZE = 2;
// What older families are not sent.
constexpr std::uint64_t PLAIN_TAIL = 16;
constexpr std::uint64_t MCB_TAIL = 4;

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

bool is_serial(const Inspection& inspection)
{
    return inspection.device != nullptr &&
           inspection.device->architecture() == fpga::Architecture::length_count;
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

void add_packets(Lines& lines, const Inspection& inspection)
{
    if (is_serial(inspection) || !inspection.packets.sync_bit())
        return;
    lines.add("Sync word", "at bit " + std::to_string(*inspection.packets.sync_bit()));
    if (inspection.packets.idcode())
        lines.add("Device ID", in_hex(*inspection.packets.idcode()));
    std::string registers;
    for (const auto& written : inspection.packets.registers()) {
        registers += (registers.empty() ? "" : ", ") + written.name + " " + std::to_string(written.packets);
        if (written.words != written.packets)
            registers += " (" + std::to_string(written.words) + " words)";
    }
    lines.add("Registers", registers.empty() ? "none" : registers);
    std::string commands;
    for (const auto& command : inspection.packets.commands()) {
        commands += (commands.empty() ? "" : ", ") + command.name;
        if (command.count != 1)
            commands.append(" ").append(std::to_string(command.count)).append(" times");
    }
    lines.add("Commands", commands.empty() ? "none" : commands);
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
    if (is_serial(inspection) || !inspection.packets.sync_bit())
        return nullptr;
    Json registers = Json::array();
    for (const auto& written : inspection.packets.registers())
        registers.push_back({{"name", written.name}, {"packets", written.packets}, {"words", written.words}});
    Json commands = Json::array();
    for (const auto& command : inspection.packets.commands())
        commands.push_back({{"name", command.name}, {"count", command.count}});
    Json packets = {{"sync_bit", *inspection.packets.sync_bit()}};
    packets["idcode"] = inspection.packets.idcode() ? Json(in_hex(*inspection.packets.idcode())) : Json{};
    packets["registers"] = std::move(registers);
    packets["commands"] = std::move(commands);
    return packets;
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

Json device_json(const fpga::Device* device)
{
    if (device == nullptr)
        return nullptr;
    return {{"name", device->name},
            {"family", fpga::family_name(device->family)},
            {"frames", device->frames()},
            {"standard_bits", device->stream_bits()}};
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

std::string device_text(const fpga::Device& device)
{
    return std::string{device.name} + " (" + std::string{fpga::family_name(device.family)} + ")";
}

BusTime bus_time(const Inspection& inspection, double bytes_per_second)
{
    const std::uint64_t data = inspection.found_bits / 8;
    // The library's own table decides, not the chip's family.
    kvn_fpga_imp session;
    char family[32];
    (void)session.Get_Device_Family(inspection.part.c_str(), family);
    const bool holds_back = session.virtex2_family == 0;
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
    for (const Label& label : inspection.labels)
        lines.add(label.name, printable(label.text));
    if (!inspection.part.empty())
        lines.add("Part", printable(inspection.part));
    if (inspection.device != nullptr)
        lines.add("Device", device_text(*inspection.device));
    else if (!inspection.other_family.empty())
        lines.add("Device", "of the family " + inspection.other_family);
    else if (!inspection.part.empty())
        lines.add("Device", "not known");
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
        lines.add(problem.fatal ? "Problem" : "Note", printable(problem.what));
        lines.add("  What to do", printable(problem.remedy));
    }
    if (inspection.problems.empty())
        lines.add("Problems", "none");
}

Json to_json(const Inspection& inspection, const std::optional<BusTime>& time)
{
    Json header = Json::object();
    for (const Label& label : inspection.labels)
        header[label.name] = label.text;
    Json problems = Json::array();
    for (const Problem& problem : inspection.problems)
        problems.push_back({{"what", problem.what}, {"remedy", problem.remedy}, {"fatal", problem.fatal}});

    Json json = {{"file", inspection.path},
                 {"size", inspection.file_size},
                 {"format", format_name(inspection.format())},
                 {"named", format_name(inspection.named)}};
    json["header"] = std::move(header);
    json["part"] = inspection.part;
    json["device"] = device_json(inspection.device);
    json["other_family"] = inspection.other_family.empty() ? Json{} : Json(inspection.other_family);
    json["stated_bits"] = inspection.stated_bits ? Json(*inspection.stated_bits) : Json{};
    json["found_bits"] = inspection.found_bits;
    json["packets"] = packets_json(inspection);
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

void print_json(std::ostream& out, const Json& json)
{
    constexpr int indent = 2;
    // Header texts may be anything; what is no UTF-8 is replaced.
    out << json.dump(indent, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace kvn
