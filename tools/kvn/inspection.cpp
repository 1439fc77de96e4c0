// What there is to know about a bitstream file without hardware.
#include "inspection.h"

#include "families.h"
#include "formats/mcb_format.h"
#include "inspectors.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
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

/// The format by how a file begins: damaged beginnings are taken for what they resemble.
Format content_format(FILE* file)
{
    std::array<char, 64> head{};
    const std::size_t size = std::fread(head.data(), 1, head.size(), file);
    std::rewind(file);
    const std::string_view text{head.data(), size};
    constexpr std::string_view bit_magic = "\x0F\xF0\x0F\xF0\x0F\xF0\x0F\xF0";
    if (text.find("ASCII Bitstream") != std::string_view::npos)
        return Format::rbt;
    if (text.substr(0, 16).find(bit_magic) != std::string_view::npos)
        return Format::bit;
    const McbNumber first = to_mcb_number(MCB_MAGIC_1);
    const bool is_mcb = size >= first.size() && std::memcmp(head.data(), first.data(), first.size()) == 0;
    return is_mcb ? Format::mcb : Format::unknown;
}

void compare_name_and_content(Inspection& inspection)
{
    const Format content = inspection.content;
    if (content == Format::unknown && inspection.named == Format::unknown)
        inspection.problems.push_back({"this is no RBT, BIT or MCB file", "give a bitstream file"});
    if (content == Format::unknown || content == inspection.named)
        return;
    const std::string is = std::string{"the content is of a "} + format_name(content) + " file";
    const std::string renamed =
        std::filesystem::path{inspection.path}.replace_extension(extension(content)).string();
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

/// Says why the device would not start, unless the file's own damage explains it.
void judge_configuration(Inspection& inspection)
{
    if (!inspection.port || inspection.has_fatal_problem())
        return;
    if (inspection.port->outcome != fpga::Outcome::done)
        inspection.problems.push_back(
            {"a " + std::string{inspection.device->name} + " would not start: " + inspection.port->reason,
             remedy(inspection.port->outcome)});
    else if (inspection.device->architecture() == fpga::Architecture::length_count)
        inspection.problems.push_back(
            {"the library holds back the last 16 bytes of a plain load and the last 4 of an MCB file, which "
             "this family needs",
             "load the BIT file compressed, or lengthen it as docs/formats/spartan.md shows", false});
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

bool Inspection::has_fatal_problem() const
{
    return std::ranges::any_of(problems, &Problem::fatal);
}

DataSink::DataSink(Inspection& inspection) : inspection_{inspection}
{
    if (inspection.device != nullptr)
        port_ = fpga::make_port(*inspection.device);
}

void DataSink::take(std::span<const std::uint8_t> bytes)
{
    constexpr std::size_t STEP = 16384;
    std::array<std::uint8_t, PAIR_SIZE * STEP> pairs; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (auto rest = bytes; !rest.empty(); rest = rest.subspan(std::min(STEP, rest.size())))
        inspection_.run_coded_bytes += runs_.encode(rest.first(std::min(STEP, rest.size())), pairs.data());
    inspection_.found_bits += bytes.size() * 8;
    inspection_.packets.take(bytes);
    if (port_ != nullptr)
        port_->take(bytes);
}

void DataSink::finish()
{
    if (inspection_.found_bits != 0)
        inspection_.run_coded_bytes += PAIR_SIZE;
    if (port_ != nullptr && inspection_.found_bits != 0)
        inspection_.port = port_->report();
}

void note_part(Inspection& inspection, std::string part)
{
    inspection.part = std::move(part);
    inspection.device = fpga::find_device(inspection.part);
    if (inspection.device == nullptr || !inspection.device->carried_by_modules())
        inspection.other_family = other_family(inspection.part);
    if (!inspection.other_family.empty())
        inspection.problems.push_back({"the file is for a " + inspection.part + " of the family " +
                                           inspection.other_family + ", which no module carries",
                                       "use the bitstream that was made for the module's device"});
}

Inspection inspect(const std::string& path)
{
    Inspection inspection{};
    inspection.path = path;
    File file{std::fopen(path.c_str(), "rb")};
    struct stat status {
    };
    if (file == nullptr || fstat(fileno(file.get()), &status) != 0)
        throw std::runtime_error{path + ": " + std::strerror(errno)}; // NOLINT(concurrency-mt-unsafe)
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error{path + ": not a regular file"};
    inspection.file_size = static_cast<std::uint64_t>(status.st_size);
    inspection.named = named_format(path);
    inspection.content = content_format(file.get());
    compare_name_and_content(inspection);

    switch (inspection.format()) {
    case Format::rbt:
        inspect_rbt(std::move(file), inspection);
        break;
    case Format::bit:
        inspect_bit(std::move(file), inspection);
        break;
    case Format::mcb:
        inspect_mcb(std::move(file), inspection);
        break;
    case Format::unknown:
        break;
    }
    judge_configuration(inspection);
    return inspection;
}

} // namespace kvn
