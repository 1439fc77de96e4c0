// SPDX-License-Identifier: Apache-2.0
// The RBT text format.
#include "formats/rbt_format.h"

#include "kvnfpgai.h"
#include "support/text.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

int findin(const char* line, const char* word, std::int32_t* position)
{
    if (*word == '\0')
        return 0;
    for (const char* start = line; *start != '\0'; ++start) {
        std::size_t same = 0;
        while (word[same] != '\0' && lower(start[same]) == lower(word[same]))
            ++same;
        if (word[same] == '\0') {
            *position = static_cast<std::int32_t>(start - line);
            return 1;
        }
    }
    return 0;
}

int isinline(const char* line, const char* word)
{
    std::int32_t position = 0;
    return findin(line, word, &position);
}

bool RbtLine::is_title() const
{
    return std::strcmp(text, "Xilinx ASCII Bitstream\n") == 0;
}

void RbtLine::copy_device(char (&device)[255]) const
{
    const char* start = skip_blanks(find_blank(text));
    copy_text(device, {start, std::strcspn(start, "\n")});
}

bool RbtLine::find_bit_count(std::int32_t& bits) const
{
    constexpr std::size_t label_length = 5;
    std::int32_t position = 0;
    if (findin(text, "bits:", &position) == 0)
        return false;
    bits = to_number(text + position + label_length);
    return true;
}

bool read_part_line(FILE* stream, RbtLine& line)
{
    for (int number = 2; number <= 5; ++number)
        if (!line.read(stream))
            return false;
    return true;
}

namespace
{
// The most that one read of a data line takes; a longer line is read as several.
constexpr std::size_t LONGEST_READ = 39;
} // namespace

bool RbtDataReader::read_line(std::uint8_t* word)
{
    const auto bytes = input_.peek(LONGEST_READ);
    std::string_view line{as_text(bytes), std::min(bytes.size(), LONGEST_READ)};
    const std::size_t line_feed = line.find('\n');
    // Choice: a line that a read error cuts short is none (docs/decisions/0013-read-errors-and-ends.md).
    if (line_feed != std::string_view::npos)
        line = line.substr(0, line_feed + 1);
    else if (line.empty() || (line.size() < LONGEST_READ && input_.failed()))
        return false;
    const std::size_t length = std::min(line.find('\0'), line.size());
    if (length != LINE_CHARS) {
        wrong_line_ = true;
        wrong_length_ = static_cast<int>(length);
        return false;
    }
    kvn_fpga_imp::process_Bitstream_Word(line.data(), word);
    input_.skip(line.size());
    return true;
}

void kvn_fpga_imp::process_Bitstream_Word(const char* chars, unsigned char* out)
{
    for (std::size_t group = 0; group < WORD_SIZE; ++group) {
        unsigned byte = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            if (*chars++ == '1')
                byte |= 1U << bit;
        out[group] = static_cast<unsigned char>(byte);
    }
}

int kvn_fpga_imp::write_rbt_line(const char* file_name, FILE* stream, const unsigned char* bytes)
{
    char line[LINE_CHARS];
    fastest::write_line(line, bytes);
    const std::size_t written = std::fwrite(line, 1, sizeof line, stream);
    if (written < sizeof line)
        return fail(rbt_write_failure(line[written]), file_name);
    return 0;
}
