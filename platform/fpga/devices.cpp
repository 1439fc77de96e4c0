// SPDX-License-Identifier: Apache-2.0
// The FPGA devices that modules carry: geometry, identity and stream size of each, in one table.
#include "devices.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace fpga
{
namespace
{

constexpr Device serial(std::string_view name, Family family, unsigned frame_bits, unsigned frames)
{
    return {name, family, frame_bits, 0, 0, 0, false, frames};
}

constexpr Device packet(std::string_view name, Family family, unsigned frame_words, unsigned columns,
                        unsigned block_ram_columns, std::uint32_t idcode = 0, bool second_pass = false)
{
    return {name, family, frame_words, columns, block_ram_columns, idcode, second_pass, 0};
}

constexpr bool writes_second_pass = true;

constexpr Device table[] = {
    serial("s05", Family::spartan, 126, 428),
    serial("s10", Family::spartan, 166, 572),
    serial("s20", Family::spartan, 226, 788),
    serial("s30", Family::spartan, 266, 932),
    serial("s40", Family::spartan, 306, 1076),
    serial("s05xl", Family::spartan_xl, 127, 429),
    serial("s10xl", Family::spartan_xl, 167, 573),
    serial("s20xl", Family::spartan_xl, 227, 789),
    serial("s30xl", Family::spartan_xl, 267, 933),
    serial("s40xl", Family::spartan_xl, 307, 1077),

    packet("2s15", Family::spartan2, 7, 12, 2),
    packet("2s30", Family::spartan2, 9, 18, 2),
    packet("2s50", Family::spartan2, 12, 24, 2),
    packet("2s100", Family::spartan2, 14, 30, 2),
    packet("2s150", Family::spartan2, 16, 36, 2),
    packet("2s200", Family::spartan2, 18, 42, 2),

    packet("v50", Family::virtex, 12, 24, 2),
    packet("v100", Family::virtex, 14, 30, 2),
    packet("v150", Family::virtex, 16, 36, 2),
    packet("v200", Family::virtex, 18, 42, 2),
    packet("v300", Family::virtex, 21, 48, 2),
    packet("v400", Family::virtex, 25, 60, 2),
    packet("v600", Family::virtex, 30, 72, 2),
    packet("v800", Family::virtex, 34, 84, 2),
    packet("v1000", Family::virtex, 39, 96, 2),

    packet("v50e", Family::virtex_e, 12, 24, 4),
    packet("v100e", Family::virtex_e, 14, 30, 4),
    packet("v200e", Family::virtex_e, 18, 42, 4),
    packet("v300e", Family::virtex_e, 21, 48, 4),
    packet("v400e", Family::virtex_e, 25, 60, 4),
    packet("v405e", Family::virtex_e, 25, 60, 14),
    packet("v600e", Family::virtex_e, 30, 72, 6),
    packet("v812e", Family::virtex_e, 34, 84, 20),
    packet("v1000e", Family::virtex_e, 39, 96, 6),
    packet("v1600e", Family::virtex_e, 43, 108, 8),
    packet("v2000e", Family::virtex_e, 48, 120, 8),
    packet("v2600e", Family::virtex_e, 54, 138, 8),
    packet("v3200e", Family::virtex_e, 61, 156, 8),

    packet("2s50e", Family::spartan2e, 12, 24, 4),
    packet("2s100e", Family::spartan2e, 14, 30, 4),
    packet("2s150e", Family::spartan2e, 16, 36, 4),
    packet("2s200e", Family::spartan2e, 18, 42, 4),
    packet("2s300e", Family::spartan2e, 21, 48, 4),
    packet("2s400e", Family::spartan2e, 25, 60, 4),
    packet("2s600e", Family::spartan2e, 30, 72, 6),

    packet("2v40", Family::virtex2, 26, 8, 2, 0x01008093),
    packet("2v80", Family::virtex2, 46, 8, 2, 0x01010093),
    packet("2v250", Family::virtex2, 66, 16, 4, 0x01018093),
    packet("2v500", Family::virtex2, 86, 24, 4, 0x01020093),
    packet("2v1000", Family::virtex2, 106, 32, 4, 0x01028093, writes_second_pass),
    packet("2v1500", Family::virtex2, 126, 40, 4, 0x01030093),
    packet("2v2000", Family::virtex2, 146, 48, 4, 0x01038093),
    packet("2v3000", Family::virtex2, 166, 56, 6, 0x01040093, writes_second_pass),
    packet("2v4000", Family::virtex2, 206, 72, 6, 0x01050093, writes_second_pass),
    packet("2v6000", Family::virtex2, 246, 88, 6, 0x01060093, writes_second_pass),
    packet("2v8000", Family::virtex2, 286, 104, 6, 0x01070093),

    packet("2vp2", Family::virtex2_pro, 46, 22, 4, 0x01226093),
    packet("2vp4", Family::virtex2_pro, 106, 22, 4, 0x0123E093),
    packet("2vp7", Family::virtex2_pro, 106, 34, 6, 0x0124A093),
    packet("2vp20", Family::virtex2_pro, 146, 46, 8, 0x01266093),
    packet("2vpx20", Family::virtex2_pro, 146, 46, 8, 0x01866093),
    packet("2vp30", Family::virtex2_pro, 206, 46, 8, 0x0127E093),
    packet("2vp40", Family::virtex2_pro, 226, 58, 10, 0x01292093),
    packet("2vp50", Family::virtex2_pro, 226, 70, 12, 0x0129E093),
    packet("2vp70", Family::virtex2_pro, 266, 82, 14, 0x012BA093),
    packet("2vpx70", Family::virtex2_pro, 266, 82, 14, 0x018BA093),
    packet("2vp100", Family::virtex2_pro, 306, 94, 16, 0x012D6093),
};

constexpr unsigned LONGEST_TYPE1_COUNT = 2047;

// Block RAM columns whose data count does not fit a type 1 header and so takes a type 2 header as well.
unsigned long_block_ram_columns(const Device& device)
{
    const unsigned words = device.frame_size;
    const unsigned all = device.block_ram_columns;
    const unsigned with_pad_frame = 65 * words > LONGEST_TYPE1_COUNT ? all - 1 : 0;
    const unsigned last = 64 * words > LONGEST_TYPE1_COUNT ? 1 : 0;
    return with_pad_frame + last;
}

std::uint32_t virtex_stream_words(const Device& device)
{
    const unsigned block_ram = device.block_ram_columns;
    return 33 + 3 * block_ram + long_block_ram_columns(device) +
           (device.frames() + 1 + block_ram) * device.frame_size;
}

std::uint32_t virtex2_stream_words(const Device& device)
{
    const std::uint32_t plain = 37 + (device.frames() + 2) * device.frame_size;
    return device.second_pass ? plain + device.clb_columns * (3 * device.frame_size + 4) + 4 : plain;
}

// Before the frames fill, preamble, length count and fill; after them postamble, fill up to the next byte
// boundary and one more byte.
std::uint32_t length_count_stream_bits(const Device& device)
{
    const std::uint32_t up_to_postamble = 40 + device.length_count_frames * device.frame_size + 8;
    return (up_to_postamble + 7) / 8 * 8 + 8;
}

class ColumnList
{
public:
    void add(unsigned count, unsigned frames)
    {
        for (unsigned i = 0; i < count; ++i)
            columns.push_back({block_, major_++, frames});
    }
    void begin_block(unsigned block, unsigned first_major = 0)
    {
        block_ = block;
        major_ = first_major;
    }
    std::vector<Column> columns;

private:
    unsigned block_ = 0;
    unsigned major_ = 0;
};

bool has_block_ram_groups(const Device& device)
{
    const bool extended_memory = device.name == "v405e" || device.name == "v812e";
    return (device.family == Family::virtex_e || device.family == Family::spartan2e) && !extended_memory;
}

// Virtex-E: runs of CLB columns from the centre outwards, each followed by two block RAM interconnect
// columns.
void add_groups(ColumnList& list, const Device& device)
{
    constexpr unsigned OUTER_GROUP = 24;
    const unsigned groups = device.block_ram_columns / 2;
    const unsigned in_full_groups = OUTER_GROUP * (groups - 1);
    const bool halves = device.clb_columns <= in_full_groups; // the smallest: two groups of twelve
    const unsigned outer = halves ? device.clb_columns / groups : OUTER_GROUP;
    list.add(device.clb_columns - outer * (groups - 1), 48);
    list.add(2, 27);
    for (unsigned group = 1; group < groups; ++group) {
        list.add(outer, 48);
        list.add(2, 27);
    }
    list.add(2, 54);
}

std::vector<Column> virtex_columns(const Device& device)
{
    const bool counts_from_one = device.family == Family::virtex_e || device.family == Family::spartan2e;
    ColumnList list;
    list.add(1, 8);
    if (has_block_ram_groups(device)) {
        add_groups(list, device);
    } else {
        list.add(device.clb_columns, 48);
        list.add(2, 54);
        list.add(device.block_ram_columns, 27);
    }
    list.begin_block(1, counts_from_one ? 1 : 0);
    list.add(device.block_ram_columns, 64);
    return list.columns;
}

std::vector<Column> virtex2_columns(const Device& device)
{
    ColumnList list;
    list.add(1, 4);
    list.add(1, 4);
    list.add(1, 22);
    list.add(device.clb_columns, 22);
    list.add(1, 22);
    list.add(1, 4);
    list.begin_block(1);
    list.add(device.block_ram_columns, 64);
    list.begin_block(2);
    list.add(device.block_ram_columns, 22);
    return list.columns;
}

char lower(char letter)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

bool begins_with_device(std::string_view text, std::string_view device)
{
    if (!text.starts_with(device))
        return false;
    const std::string_view rest = text.substr(device.size());
    return rest.empty() || std::isdigit(static_cast<unsigned char>(rest.front())) == 0;
}

} // namespace

Architecture Device::architecture() const
{
    switch (family) {
    case Family::spartan:
    case Family::spartan_xl:
        return Architecture::length_count;
    case Family::virtex2:
    case Family::virtex2_pro:
        return Architecture::virtex2;
    default:
        return Architecture::virtex;
    }
}

unsigned Device::frames() const
{
    switch (architecture()) {
    case Architecture::length_count:
        return length_count_frames;
    case Architecture::virtex2:
        return 12 + 22 * (clb_columns + 2) + 86 * block_ram_columns;
    default:
        return 8 + 48 * clb_columns + 108 + 91 * block_ram_columns;
    }
}

std::uint32_t Device::stream_bits() const
{
    switch (architecture()) {
    case Architecture::length_count:
        return length_count_stream_bits(*this);
    case Architecture::virtex2:
        return virtex2_stream_words(*this) * 32;
    default:
        return virtex_stream_words(*this) * 32;
    }
}

std::span<const Device> devices()
{
    return table;
}

std::string_view family_name(Family family)
{
    switch (family) {
    case Family::spartan:
        return "Spartan";
    case Family::spartan_xl:
        return "Spartan-XL";
    case Family::spartan2:
        return "Spartan-2";
    case Family::spartan2e:
        return "Spartan-2E";
    case Family::virtex:
        return "Virtex";
    case Family::virtex_e:
        return "Virtex-E";
    case Family::virtex2:
        return "Virtex-2";
    default:
        return "Virtex-2 Pro";
    }
}

const Device* find_device(std::string_view name)
{
    std::string text{name};
    std::ranges::transform(text, text.begin(), lower);
    const std::string_view without_maker = text.starts_with("xc") ? std::string_view{text}.substr(2) : text;

    const Device* longest = nullptr;
    for (const Device& device : table) {
        if (begins_with_device(without_maker, device.name) &&
            (longest == nullptr || device.name.size() > longest->name.size()))
            longest = &device;
    }
    return longest;
}

const Device* find_idcode(std::uint32_t idcode)
{
    constexpr std::uint32_t WITHOUT_VERSION = 0x0FFFFFFF;
    const auto found = std::ranges::find_if(table, [&](const Device& device) {
        return device.idcode != 0 && (device.idcode & WITHOUT_VERSION) == (idcode & WITHOUT_VERSION);
    });
    return found == std::end(table) ? nullptr : &*found;
}

std::vector<Column> frame_columns(const Device& device)
{
    switch (device.architecture()) {
    case Architecture::length_count:
        return {};
    case Architecture::virtex2:
        return virtex2_columns(device);
    default:
        return virtex_columns(device);
    }
}

} // namespace fpga
