// SPDX-License-Identifier: Apache-2.0
// The header of an RBT file, whoever wrote it.
#include "file/rbt_header.h"

#include "file/inspectors.h"
#include "kvnfpgai.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace kvn
{
namespace
{

constexpr std::size_t TITLE_LINE = 1;
constexpr std::size_t PART_LINE = 5;
constexpr std::size_t LAST_LINE = 7;
// Whatever begins with more lines of other text is no RBT file.
constexpr std::size_t MOST_LINES = 32;

/// At least a byte of zeros and ones, up to one other character in sixteen.
bool looks_like_data(std::string_view line)
{
    constexpr std::size_t LEAST = 8;
    constexpr std::ptrdiff_t MANY = 16;
    const auto odd = std::ranges::count_if(line, [](char c) { return c != '0' && c != '1'; });
    return line.size() >= LEAST && odd * MANY <= static_cast<std::ptrdiff_t>(line.size());
}

bool states_bits(const RbtLine& line)
{
    std::int32_t bits = 0;
    return line.find_bit_count(bits);
}

/// How many lines the library takes for the header; 0 when it takes none.
std::size_t header_size(const std::vector<RbtLine>& lines)
{
    for (const std::size_t number : {LAST_LINE - 1, LAST_LINE})
        if (lines.size() >= number && states_bits(lines[number - 1]))
            return number;
    return 0;
}

void read_lines(FILE* file, RbtHeader& header)
{
    RbtLine line;
    while (header.lines.size() < MOST_LINES) {
        const long begin = std::ftell(file);
        if (!line.read(file))
            return;
        if (looks_like_data(trimmed(line.text))) {
            header.data_begin = begin;
            return;
        }
        header.lines.push_back(line);
        if (header_size(header.lines) != 0) {
            header.is_taken = true;
            header.data_begin = std::ftell(file);
            return;
        }
    }
}

bool same(std::string_view text, std::string_view lower_case)
{
    return std::ranges::equal(text, lower_case, [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

/// Sorts what the lines say into the fields of the header.
class Labels
{
public:
    Labels(RbtHeader& header, Header& labels) : header_{header}, labels_{labels} {}

    void note(std::size_t number)
    {
        const RbtLine& line = header_.lines[number - 1];
        std::string_view text{line.text};
        std::int32_t position = 0;
        if (std::int32_t bits = 0; line.find_bit_count(bits) && findin(line.text, "bits:", &position) != 0) {
            if (!header_.bits) {
                header_.bits = bits;
                header_.bits_line = number;
            }
            // The date of a BIT file stands here when the file was made from an MCB file.
            text = text.substr(0, static_cast<std::size_t>(position));
            set(labels_.date, text);
            return;
        }
        const std::size_t colon = text.find(':');
        const std::string_view label = trimmed(text.substr(0, colon));
        const std::string_view value =
            colon == std::string_view::npos ? std::string_view{} : text.substr(colon + 1);
        if (same(label, "design name"))
            set(labels_.design, value);
        else if (same(label, "architecture"))
            set(labels_.architecture, value);
        else if (same(label, "date"))
            set(labels_.date, value);
        else if (same(label, "part"))
            note_part_line(number, value);
        else if (same(label, "type") && isinline(line.text, "mask") != 0)
            header_.is_mask = true;
        else
            note_other(number, trimmed(text));
    }

private:
    static void set(std::optional<std::string>& field, std::string_view text)
    {
        if (!field && !trimmed(text).empty())
            field = trimmed(text);
    }

    void note_part_line(std::size_t number, std::string_view value)
    {
        if (header_.part_line != 0)
            return;
        header_.part_line = number;
        header_.part = trimmed(value);
    }

    void note_other(std::size_t number, std::string_view text)
    {
        constexpr std::string_view created = "Created by ";
        if (number == 2)
            set(labels_.tool, text.starts_with(created) ? text.substr(created.size()) : text);
        else if (number == PART_LINE && header_.is_taken)
            return; // the library takes it for the part line whatever it says
        else if (!text.empty() && text != labels_.tool)
            labels_.other.emplace_back(text);
    }

    RbtHeader& header_;
    Header& labels_;
};

/// What the library takes for the part: the fifth line behind its first blanks, whatever it says.
std::string library_part(const RbtHeader& header)
{
    char part[255];
    header.lines[PART_LINE - 1].copy_device(part);
    return std::string{trimmed(part)};
}

/// The problems of a header, worst first.
class Faults
{
public:
    Faults(const RbtHeader& header, Inspection& inspection) : header_{header}, inspection_{inspection} {}

    void note()
    {
        if (header_.lines.empty() && !header_.data_begin)
            return problem("the file is empty", MAKE_AGAIN);
        note_long_lines();
        note_title();
        if (header_.is_mask)
            return problem("the file is a mask for reading back, no bitstream", "give the bitstream file",
                           Stops::use);
        if (!header_.is_taken)
            return note_bits();
        if (library_part(header_) != header_.part)
            problem("the part stands in line " + std::to_string(header_.part_line) +
                        ", not in line 5: the header is not as the Xilinx tools write it",
                    "make the file again with the Xilinx tools");
    }

private:
    void note_long_lines()
    {
        for (std::size_t number = 1; number <= header_.lines.size(); ++number) {
            const RbtLine& line = header_.lines[number - 1];
            if (std::strlen(line.text) + 1 == sizeof line.text && std::strchr(line.text, '\n') == nullptr)
                problem("line " + std::to_string(number) +
                            " is longer than 254 characters and is taken for several",
                        "shorten the line", Stops::nothing);
        }
    }

    void note_title()
    {
        if (header_.has_title)
            return;
        const std::string_view text{header_.lines.empty() ? "" : header_.lines[0].text};
        if (text.ends_with("\r\n"))
            return problem(
                "the lines end in carriage return and line feed; the library takes a line feed alone",
                CONVERT_LINE_ENDS);
        if (header_.lines.empty())
            return problem("the file has no header: it begins with data lines",
                           "write the header in front of them, as docs/formats/rbt.md shows");
        problem("line 1 is \"" + std::string{text.substr(0, text.find('\n'))} +
                    "\", not \"Xilinx ASCII Bitstream\"",
                "restore the title to the letter, with nothing behind it");
    }

    void note_bits()
    {
        if (header_.bits)
            return problem("the number of bits stands in line " + std::to_string(header_.bits_line) +
                               ", not in line 6 or 7: the header is not as the Xilinx tools write it",
                           "make the file again with the Xilinx tools, or write the header as "
                           "docs/formats/rbt.md shows");
        if (!header_.data_begin && header_.lines.size() < LAST_LINE)
            return problem("the file ends inside its header, behind line " +
                               std::to_string(header_.lines.size()),
                           MAKE_AGAIN);
        if (header_.lines.size() < LAST_LINE - 1)
            return problem("the header has " + std::to_string(header_.lines.size()) +
                               " lines and does not state the number of bits",
                           MAKE_AGAIN);
        problem("neither line 6 nor line 7 states the number of bits", MAKE_AGAIN);
    }

    void problem(const std::string& what, const char* remedy, Stops stops = Stops::loads)
    {
        inspection_.problems.push_back({what, remedy, stops});
    }

    const RbtHeader& header_;
    Inspection& inspection_;
};

} // namespace

RbtHeader read_rbt_header(FILE* file, Inspection& inspection)
{
    RbtHeader header;
    read_lines(file, header);
    header.has_title = !header.lines.empty() && header.lines[0].is_title();
    Labels labels{header, inspection.header};
    for (std::size_t number = TITLE_LINE + 1; number <= header.lines.size(); ++number)
        labels.note(number);
    if (header.is_taken && (header.part_line == 0 || header.part_line == PART_LINE))
        header.part = library_part(header);
    if (header.bits)
        inspection.stated_bits = inspection.counted_bits = *header.bits;
    Faults{header, inspection}.note();
    note_part(inspection, header.part);
    return header;
}

} // namespace kvn
