// SPDX-License-Identifier: Apache-2.0
// A file that is to be converted: its configuration, its header, and what of it no target has.
#include "file/source.h"

#include "errors/failure.h"
#include "file/inspectors.h"
#include "file/rbt_header.h"
#include "file/rbt_lines.h"
#include "formats/mcb_runs.h"

#include <algorithm>
#include <utility>

namespace kvn
{
namespace
{

[[noreturn]] void refuse(const Input& input, const std::string& what, const std::string& remedy)
{
    throw FailureError{{ExitStatus::damaged, 0, input.name() + ": " + what, "", remedy}};
}

class Gatherer : public DataTaker
{
public:
    explicit Gatherer(const Input& input) : input_{input} {}
    void begin() override { bytes_.clear(); }
    void take(std::span<const std::uint8_t> bytes) override
    {
        if (bytes_.size() + bytes.size() > MOST_CONVERTED)
            refuse(input_,
                   "holds more than " + std::to_string(MOST_CONVERTED) +
                       " bytes of configuration, which no device takes",
                   MAKE_AGAIN);
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }
    [[nodiscard]] std::vector<std::uint8_t> gathered() { return std::move(bytes_); }

private:
    const Input& input_;
    std::vector<std::uint8_t> bytes_;
};

/// The problem that keeps a file from being converted; null when none does.
const Problem* decisive_problem(const Inspection& inspection)
{
    const std::vector<Problem>& problems = inspection.problems;
    const auto mask = std::ranges::find(problems, Stops::use, &Problem::stops);
    if (mask != problems.end())
        return &*mask;
    if (inspection.found_bits == 0)
        return first_fatal(problems);
    if (!inspection.data_are_damaged)
        return nullptr;
    // What damages the data is found behind what is wrong with the header.
    const auto last = std::find_if(problems.rbegin(), problems.rend(),
                                   [](const Problem& problem) { return problem.is_fatal(); });
    return last == problems.rend() ? nullptr : &*last;
}

/// Refuses what holds no configuration, or not the whole of it.
void require_whole(const Input& input, const Inspection& inspection)
{
    if (const Problem* problem = decisive_problem(inspection))
        refuse(input, problem->what, problem->remedy);
    if (inspection.found_bits == 0 || inspection.format() == Format::unknown)
        refuse(input, "holds no configuration", MAKE_AGAIN);
}

std::string lengths(const RbtLines& lines)
{
    const std::string longest = std::to_string(lines.longest);
    return lines.shortest == lines.longest ? longest : std::to_string(lines.shortest) + " to " + longest;
}

/// Compares the characters of data lines with the data that they were taken for.
class OrderProbe
{
public:
    explicit OrderProbe(std::span<const std::uint8_t> data) : rest_{data} {}
    void take(std::span<const std::uint8_t> bytes)
    {
        const std::size_t size = std::min(bytes.size(), rest_.size());
        differs_ = differs_ || !std::ranges::equal(bytes.first(size), rest_.first(size));
        rest_ = rest_.subspan(size);
    }
    [[nodiscard]] bool differs() const { return differs_; }

private:
    std::span<const std::uint8_t> rest_;
    bool differs_ = false;
};

void note_rbt_changes(const Input& input, Source& source)
{
    const File file = input.open();
    Inspection unused{};
    const RbtHeader header = read_rbt_header(file.get(), unused);
    OrderProbe order{source.data.bytes};
    const RbtLines lines = read_rbt_lines(file.get(), header.data_begin.value_or(0), header.lines.size() + 1,
                                          [&order](auto bytes) { order.take(bytes); });
    const auto note = [&source](Change::Kind kind, std::uint64_t count, std::string what) {
        source.changes.push_back({kind, count, std::move(what)});
    };
    const bool has_carriage_returns = std::ranges::any_of(
        header.lines, [](const RbtLine& line) { return std::string_view{line.text}.ends_with("\r\n"); });
    if (source.header.is_mended)
        note(Change::Kind::header, 0, "the header was written anew, as loads take it");
    if (has_carriage_returns || lines.wrong_has_carriage_return)
        note(Change::Kind::line_ends, 0, "carriage returns at the ends of lines were left out");
    if (lines.have_other_lengths())
        note(Change::Kind::lines, lines.count,
             std::to_string(lines.count) + " data lines of " + lengths(lines) +
                 " characters, not 32, were joined");
    else if (lines.empty_at_end != 0)
        note(Change::Kind::lines, lines.empty_at_end,
             std::to_string(lines.empty_at_end) + " empty lines at the end were left out");
    else if (!lines.ends_with_line_feed && lines.wrong != 0)
        note(Change::Kind::lines, 1, "the last line was given its line feed");
    if (order.differs())
        note(Change::Kind::bit_order, source.data.bytes.size(),
             "the bits of each byte, which stood the other way round, were turned");
    if (lines.odd_line != 0)
        note(Change::Kind::characters, 1,
             "characters that are neither 0 nor 1, the first in line " + std::to_string(lines.odd_line) +
                 " at place " + std::to_string(lines.odd_column) + ", were taken for 0");
}

void note_left_out(Source& source, std::uint64_t bytes, const char* where)
{
    if (bytes != 0)
        source.changes.push_back({Change::Kind::trailing_bytes, bytes,
                                  std::to_string(bytes) + " bytes " + where + " were left out"});
}

/// The bytes of the runs that hold the data.
std::uint64_t run_bytes(const Input& input, std::uint64_t header_size, std::uint64_t data_size)
{
    const File file = input.open();
    if (std::fseek(file.get(), static_cast<long>(header_size), SEEK_SET) != 0)
        return 0;
    McbRunReader runs{file.get()};
    std::uint64_t bytes = 0;
    for (std::uint64_t done = 0; done < data_size;) {
        const auto pairs = runs.pairs();
        if (pairs.empty())
            break;
        const RunsTaken taken = measure_runs(pairs, data_size - done);
        runs.skip(taken.pair_bytes);
        bytes += taken.pair_bytes;
        done += taken.data_bytes;
    }
    return bytes;
}

void note_mcb_changes(const Input& input, Source& source)
{
    const std::uint64_t header = source.header.size;
    note_left_out(source, input.size() - header - run_bytes(input, header, source.data.bytes.size()),
                  "behind the last run");
}

void note_changes(const Input& input, Source& source)
{
    switch (source.header.format) {
    case Format::rbt:
        return note_rbt_changes(input, source);
    case Format::bit:
        return note_left_out(source, input.size() - source.header.size - source.data.bytes.size(),
                             "behind the configuration");
    default:
        return note_mcb_changes(input, source);
    }
}

} // namespace

Source read_source(const Input& input)
{
    Source source;
    Gatherer gatherer{input};
    source.inspection = inspect(input, &gatherer);
    require_whole(input, source.inspection);
    source.data = {gatherer.gathered(), source.inspection.found_bits};
    source.header = read_source_header(input, source.inspection);
    note_changes(input, source);
    return source;
}

void cut_to_stated_size(Source& source)
{
    const auto stated = static_cast<std::uint64_t>(source.inspection.stated_bits.value_or(0)) / 8;
    if (source.header.format != Format::mcb || source.data.bytes.size() <= stated)
        return;
    note_left_out(source, source.data.bytes.size() - stated, "that the last run has beyond the stated size");
    source.data.bytes.resize(stated);
    source.data.bits = stated * 8;
}

} // namespace kvn
