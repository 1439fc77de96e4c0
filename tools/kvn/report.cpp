// SPDX-License-Identifier: Apache-2.0
// Tells an inspection to people.
#include "report.h"

#include "lines.h"

#include <algorithm>
#include <ostream>

namespace kvn
{
namespace
{

std::string bus_time(const LoadSize& size)
{
    return size.seconds ? fixed(*size.seconds, 3) + " s" : "fails";
}

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

} // namespace

void print_report(std::ostream& out, const Inspection& inspection, const std::optional<Estimate>& estimate)
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
                                   fixed(run_coded_ratio(inspection), 3) + " of the plain size");
    if (estimate && estimate->bytes_per_second)
        lines.add("Bus time",
                  bus_time(estimate->plain) + " plain, " + bus_time(estimate->compressed) + " compressed");
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

} // namespace kvn
