// SPDX-License-Identifier: Apache-2.0
// What there is to know about a bitstream file without hardware.
#include "file/inspection.h"

#include "file/foreign_content.h"
#include "file/inspectors.h"
#include "formats/mcb_format.h"
#include "kvnfpgai.h"
#include "system/path_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace kvn
{
namespace
{

Format named_format(const std::string& path)
{
    // The library compares the last four characters, letter case included.
    if (path.ends_with(".rbt"))
        return Format::rbt;
    if (path.ends_with(".bit"))
        return Format::bit;
    return path.ends_with(".mcb") ? Format::mcb : Format::unknown;
}

const char* extension(Format format)
{
    return format == Format::rbt ? ".rbt" : format == Format::bit ? ".bit" : ".mcb";
}

using Head = std::array<char, 64>;

std::string_view read_head(FILE* file, Head& head)
{
    const std::size_t size = std::fread(head.data(), 1, head.size(), file);
    std::rewind(file);
    return {head.data(), size};
}

/// The format by how a file begins: damaged beginnings are taken for what they resemble.
Format content_format(std::string_view head)
{
    constexpr std::string_view bit_magic = "\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0";
    if (head.find("ASCII Bitstream") != std::string_view::npos)
        return Format::rbt;
    if (head.substr(0, 16).find(bit_magic) != std::string_view::npos)
        return Format::bit;
    const McbNumber first = to_mcb_number(MCB_MAGIC_1);
    const bool is_mcb =
        head.size() >= first.size() && std::memcmp(head.data(), first.data(), first.size()) == 0;
    return is_mcb ? Format::mcb : Format::unknown;
}

bool holds_zeros_alone(FILE* file)
{
    std::array<char, 16384> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
    bool only_zeros = true;
    while (only_zeros) {
        const std::size_t size = std::fread(bytes.data(), 1, bytes.size(), file);
        if (size == 0)
            break;
        only_zeros = std::all_of(bytes.begin(), bytes.begin() + size, [](char c) { return c == '\0'; });
    }
    std::rewind(file);
    return only_zeros;
}

/// What is in a file that is no bitstream.
Foreign foreign_content(FILE* file, std::string_view head, Format named)
{
    const Foreign content = recognise_foreign(head);
    // A text may be an RBT file without its title.
    if (content == Foreign::text && named == Format::rbt)
        return Foreign::none;
    return content == Foreign::zeros && !holds_zeros_alone(file) ? Foreign::none : content;
}

void note_foreign(Foreign content, Inspection& inspection)
{
    inspection.is_foreign = true;
    inspection.problems.push_back(
        {std::string{"the file is "} + foreign_words(content) + ", no RBT, BIT or MCB file",
         foreign_remedy(content)});
}

void compare_name_and_content(const Input& input, Inspection& inspection)
{
    const Format content = inspection.content;
    if (content == Format::unknown && inspection.named == Format::unknown)
        inspection.problems.push_back({"this is no RBT, BIT or MCB file", "give a bitstream file"});
    if (content == Format::unknown || content == inspection.named || !input.name_states_format())
        return;
    const std::string is = std::string{"the content is of a "} + format_name(content) + " file";
    const std::string& name = input.unpacked_name();
    const std::string renamed = system::text_of(system::path_of(name).replace_extension(extension(content))) +
                                input.name().substr(name.size());
    if (inspection.named == Format::unknown)
        inspection.problems.push_back({is + ", but the library takes names in .rbt, .bit and .mcb alone",
                                       "rename the file to " + renamed});
    else
        inspection.problems.push_back(
            {std::string{"the name says "} + format_name(inspection.named) + ", but " + is,
             "rename the file to " + renamed});
}

const char* remedy(fpga::Outcome outcome)
{
    switch (outcome) {
    case fpga::Outcome::wrong_device:
        return "use the bitstream that was made for this device";
    case fpga::Outcome::violation:
        return "make the file again with the ordinary options of the tools";
    default:
        return MAKE_AGAIN;
    }
}

/// A file that was lengthened for it can spare what is held back.
void note_serial_tail(Inspection& inspection)
{
    const bool is_mcb = inspection.format() == Format::mcb;
    const std::uint64_t spare = inspection.found_bits - inspection.port->bits_to_done;
    if (spare >= 8 * (is_mcb ? MCB_TAIL : PLAIN_TAIL))
        return;
    inspection.problems.push_back(
        {"the library holds back the last 16 bytes of a plain load and the last 4 of an MCB file, which "
         "this family needs",
         "load the BIT file compressed, or lengthen it as docs/formats/spartan.md shows",
         is_mcb ? Stops::loads : Stops::plain_loads});
}

/// Says why the device would not start, unless damage that was found explains it.
void judge_configuration(Inspection& inspection)
{
    if (!inspection.port || !inspection.device->carried_by_modules())
        return;
    if (inspection.port->outcome != fpga::Outcome::done) {
        if (!inspection.data_are_damaged)
            inspection.problems.push_back(
                {"a " + std::string{inspection.device->name} + " would not start: " + inspection.port->reason,
                 remedy(inspection.port->outcome)});
    } else if (inspection.is_serial() && !inspection.has_fatal_problem()) {
        note_serial_tail(inspection);
    }
}

} // namespace

const char* format_name(Format format)
{
    switch (format) {
    case Format::rbt:
        return "RBT";
    case Format::bit:
        return "BIT";
    case Format::mcb:
        return "MCB";
    default:
        return "unknown";
    }
}

std::string device_text(const fpga::Device& device)
{
    return std::string{device.name} + " (" + std::string{fpga::family_name(device.family)} + ")";
}

const Problem* first_fatal(const std::vector<Problem>& problems)
{
    const auto found = std::ranges::find_if(problems, &Problem::is_fatal);
    return found == problems.end() ? nullptr : &*found;
}

bool has_unread_packets(const Inspection& inspection)
{
    if (inspection.device != nullptr || inspection.part.empty())
        return false;
    return inspection.other_family == nullptr || inspection.other_family->packets == Packets::others;
}

bool holds_back_tail(const std::string& device)
{
    // The library's own table decides, not the chip's family.
    kvn_fpga_imp session;
    char family[32];
    (void)session.Get_Device_Family(device.c_str(), family);
    return session.virtex2_family == 0;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

namespace
{

/// Null when the data hold no packets, or packets that are not read.
std::optional<PacketSummary> summary_for(const Inspection& inspection)
{
    if (inspection.is_serial() || has_unread_packets(inspection))
        return std::nullopt;
    if (inspection.device != nullptr)
        return PacketSummary{inspection.device->architecture()};
    if (inspection.other_family == nullptr)
        return PacketSummary{};
    return inspection.other_family->packets == Packets::known
               ? std::optional{PacketSummary{fpga::Architecture::virtex2}}
               : std::nullopt;
}

} // namespace

DataSink::DataSink(Inspection& inspection, DataTaker* taker) : inspection_{inspection}, taker_{taker}
{
    if (inspection.device != nullptr)
        port_ = fpga::make_port(*inspection.device);
    inspection.packets = summary_for(inspection);
    if (taker_ != nullptr)
        taker_->begin();
}

void DataSink::take(std::span<const std::uint8_t> bytes)
{
    constexpr std::size_t STEP = 16384;
    std::array<std::uint8_t, PAIR_SIZE * STEP> pairs; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (auto rest = bytes; !rest.empty(); rest = rest.subspan(std::min(STEP, rest.size())))
        inspection_.run_coded_bytes += runs_.encode(rest.first(std::min(STEP, rest.size())), pairs.data());
    inspection_.found_bits += bytes.size() * 8;
    if (inspection_.packets)
        inspection_.packets->take(bytes);
    if (port_ != nullptr)
        port_->take(bytes);
    digest_.take(bytes);
    if (taker_ != nullptr)
        taker_->take(bytes);
}

void DataSink::finish(std::optional<std::uint64_t> bits)
{
    if (bits)
        inspection_.found_bits = *bits;
    if (inspection_.found_bits != 0)
        inspection_.run_coded_bytes += PAIR_SIZE;
    if (inspection_.found_bits != 0)
        inspection_.digest = digest_.finish(inspection_.found_bits);
    if (port_ != nullptr && inspection_.found_bits != 0)
        inspection_.port = port_->report();
}

void note_part(Inspection& inspection, std::string part)
{
    inspection.part = std::move(part);
    inspection.device = fpga::find_device(inspection.part);
    if (inspection.device == nullptr || !inspection.device->carried_by_modules())
        inspection.other_family = other_family(inspection.part);
    if (inspection.other_family != nullptr)
        inspection.problems.push_back({"the file is for a " + inspection.part + " of the family " +
                                           std::string{inspection.other_family->name} +
                                           ", which no module carries",
                                       "use the bitstream that was made for the module's device",
                                       Stops::loads, ExitStatus::wrong_device});
}

Inspection inspect(const Input& input, DataTaker* taker)
{
    Inspection inspection{};
    inspection.path = input.name();
    inspection.file_size = input.size();
    inspection.stored = input.stored();
    if (input.name_states_format())
        inspection.named = named_format(input.unpacked_name());
    File file = input.open();
    Head memory;
    const std::string_view head = read_head(file.get(), memory);
    inspection.content = content_format(head);
    if (inspection.content == Format::unknown) {
        const Foreign foreign = foreign_content(file.get(), head, inspection.named);
        if (foreign != Foreign::none) {
            note_foreign(foreign, inspection);
            return inspection;
        }
    }
    compare_name_and_content(input, inspection);

    switch (inspection.format()) {
    case Format::rbt:
        inspect_rbt(std::move(file), inspection, taker);
        break;
    case Format::bit:
        inspect_bit(std::move(file), inspection, taker);
        break;
    case Format::mcb:
        inspect_mcb(std::move(file), inspection, taker);
        break;
    case Format::unknown:
        break;
    }
    judge_configuration(inspection);
    return inspection;
}

Inspection inspect(const std::string& path)
{
    return inspect(Input::from_path(path));
}

} // namespace kvn
