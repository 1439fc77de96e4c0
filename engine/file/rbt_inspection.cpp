// SPDX-License-Identifier: Apache-2.0
// Inspects an RBT file.
#include "file/inspectors.h"

#include "bits.h"
#include "file/data_probe.h"
#include "file/rbt_header.h"
#include "file/rbt_lines.h"
#include "formats/progress.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

void forget_data(Inspection& inspection)
{
    inspection.found_bits = 0;
    inspection.run_coded_bytes = 0;
    inspection.digest.clear();
    inspection.port.reset();
}

/// Reads the data lines as a load does.
/// @return whether the library takes them all
bool take_as_library(FILE* file, long begin, Inspection& inspection, DataTaker* taker)
{
    if (std::fseek(file, begin, SEEK_SET) != 0)
        return false;
    DataSink sink{inspection, taker};
    RbtDataReader lines{file};
    std::array<std::uint8_t, BYTES_PER_REPORT> bytes{};
    std::size_t words = WORDS_PER_REPORT;
    while (words == WORDS_PER_REPORT) {
        words = lines.read(bytes.data(), WORDS_PER_REPORT);
        sink.take(std::span{bytes}.first(words * WORD_SIZE));
    }
    sink.finish();
    return !lines.found_wrong_line();
}

/// Reads the data lines for what they hold, though no load would.
/// @return whether the eight bits of each byte stand the other way round
bool take_as_meant(FILE* file, long begin, std::size_t number, Inspection& inspection, DataTaker* taker)
{
    DataProbe probe;
    const RbtLines lines = read_rbt_lines(file, begin, number, [&](auto bytes) { probe.take(bytes); });
    if (inspection.part.empty()) {
        inspection.candidates = probe.candidates(lines.bits);
        if (!inspection.candidates.empty())
            inspection.device = inspection.candidates.front();
    }
    DataSink sink{inspection, taker};
    std::vector<std::uint8_t> reversed;
    (void)read_rbt_lines(file, begin, number, [&](std::span<const std::uint8_t> bytes) {
        if (!probe.is_reversed())
            return sink.take(bytes);
        reversed.resize(bytes.size());
        std::ranges::transform(bytes, reversed.begin(),
                               [](std::uint8_t byte) { return fpga::REVERSED[byte]; });
        sink.take(reversed);
    });
    sink.finish(lines.bits);
    return probe.is_reversed();
}

std::string lengths(const RbtLines& lines)
{
    const std::string longest = std::to_string(lines.longest);
    return lines.shortest == lines.longest ? longest : std::to_string(lines.shortest) + " to " + longest;
}

/// What makes the data loadable, when it is nothing but how they are written.
std::string how_to_write_anew(const Inspection& inspection, bool is_reversed)
{
    if (!inspection.port || inspection.port->outcome != fpga::Outcome::done)
        return MAKE_AGAIN;
    return std::string{"the data are whole, and a "} + std::string{inspection.device->name} +
           " starts with them: " + (is_reversed ? "turn each eight characters round, " : "") +
           "join the lines and break the whole into lines of 32 characters" +
           (inspection.is_serial() ? ", with ones behind it, as docs/formats/spartan.md shows"
                                   : ", behind a header as docs/formats/rbt.md shows");
}

void note_empty_lines(const RbtLines& lines, Inspection& inspection)
{
    const std::string what = lines.empty_at_end == 1
                                 ? "line " + std::to_string(lines.wrong) + ", the last, is empty"
                                 : "the last " + std::to_string(lines.empty_at_end) + " lines, from line " +
                                       std::to_string(lines.wrong) + " on, are empty";
    inspection.problems.push_back({what, lines.empty_at_end == 1 ? "delete it" : "delete them"});
}

void note_wrong_line(const RbtLines& lines, Inspection& inspection)
{
    inspection.data_are_damaged = !lines.wrong_has_carriage_return;
    inspection.problems.push_back({"line " + std::to_string(lines.wrong) + " has " +
                                       std::to_string(lines.wrong_length) + " characters, not " +
                                       std::to_string(WORD_CHARS),
                                   lines.wrong_has_carriage_return ? CONVERT_LINE_ENDS : MAKE_AGAIN});
}

/// Says why no load takes the lines.
void note_lines(const RbtLines& lines, std::size_t first, bool is_reversed, Inspection& inspection)
{
    const bool is_behind_last = lines.wrong == first + lines.count;
    const bool is_last = lines.wrong + 1 == first + lines.count;
    if (lines.have_other_lengths() || is_reversed)
        inspection.problems.push_back(
            {lines.have_other_lengths()
                 ? "the data lines have " + lengths(lines) + " characters, not 32" +
                       (is_reversed ? ", and each eight of them stand the other way round" : "")
                 : "each eight characters of the data stand the other way round",
             how_to_write_anew(inspection, is_reversed)});
    else if (lines.wrong == 0)
        return;
    else if (is_behind_last && lines.empty_at_end != 0)
        note_empty_lines(lines, inspection);
    else if (is_last && lines.wrong_length == WORD_CHARS && !lines.ends_with_line_feed)
        inspection.problems.push_back({"the last line, " + std::to_string(lines.wrong) + ", has no line feed",
                                       "add a line feed at the end of the file"});
    else
        note_wrong_line(lines, inspection);
}

/// A character that the library takes for 0 although it is none.
void note_odd_character(const RbtLines& lines, Inspection& inspection)
{
    if (lines.odd_line != 0)
        inspection.problems.push_back({"line " + std::to_string(lines.odd_line) +
                                           " has a character at place " + std::to_string(lines.odd_column) +
                                           " that is neither 0 nor 1; the library takes it for 0",
                                       MAKE_AGAIN, Stops::nothing});
}

void compare_bits(Inspection& inspection)
{
    if (!inspection.stated_bits || inspection.data_are_damaged ||
        static_cast<std::int64_t>(inspection.found_bits) == *inspection.stated_bits)
        return;
    inspection.data_are_damaged = static_cast<std::int64_t>(inspection.found_bits) < *inspection.stated_bits;
    inspection.problems.push_back({"the header states " + std::to_string(*inspection.stated_bits) +
                                       " bits, the data lines hold " + std::to_string(inspection.found_bits),
                                   MAKE_AGAIN});
}

} // namespace

void inspect_rbt(File file, Inspection& inspection, DataTaker* taker)
{
    const RbtHeader header = read_rbt_header(file.get(), inspection);
    if (!header.data_begin)
        return;
    const std::size_t first = header.lines.size() + 1;
    const bool is_taken = header.has_title && header.is_taken &&
                          take_as_library(file.get(), *header.data_begin, inspection, taker);
    const RbtLines lines = read_rbt_lines(file.get(), *header.data_begin, first, [](auto) {});
    if (!is_taken) {
        forget_data(inspection);
        const bool is_reversed = take_as_meant(file.get(), *header.data_begin, first, inspection, taker);
        const bool is_told = !header.has_title && lines.wrong_has_carriage_return;
        if (!is_told)
            note_lines(lines, first, is_reversed, inspection);
    }
    note_odd_character(lines, inspection);
    compare_bits(inspection);
}

} // namespace kvn
