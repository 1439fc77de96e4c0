// SPDX-License-Identifier: Apache-2.0
// Inspects an MCB file.
#include "file/inspectors.h"

#include "formats/mcb_format.h"
#include "formats/mcb_runs.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

constexpr std::size_t HEADER_SIZE = 2 * MCB_NUMBER_SIZE + 2 * sizeof(McbText) + MCB_NUMBER_SIZE;
constexpr std::size_t STEP = 8192;
constexpr const char* CONVERT_ANEW = "convert the RBT or BIT file anew (KVN_FPGA -c)";

/// The timestamp is a whole line where the file was made from an RBT file.
std::string date_of(std::string_view timestamp)
{
    constexpr std::string_view label = "Date:";
    if (timestamp.starts_with(label))
        timestamp.remove_prefix(label.size());
    return std::string{trimmed(timestamp)};
}

bool read_header(FILE* file, Inspection& inspection, std::int32_t& total)
{
    const auto problem = [&](const std::string& what, const char* remedy) {
        inspection.problems.push_back({what, remedy});
        return false;
    };
    const auto cut = [&] {
        return problem("the file ends inside its header, behind " + std::to_string(inspection.file_size) +
                           " of " + std::to_string(HEADER_SIZE) + " bytes",
                       MAKE_AGAIN);
    };
    switch (read_mcb_magic(file)) {
    case McbMagic::unreadable:
        return cut();
    case McbMagic::wrong:
        return problem("the magic numbers of an MCB file are missing at offset 0", CONVERT_ANEW);
    case McbMagic::right:
        break;
    }
    char part[256];
    char time[256];
    if (!read_mcb_text(file, part) || !read_mcb_text(file, time) || !read_mcb_number(file, total))
        return cut();
    if (std::string date = date_of(time); !date.empty())
        inspection.header.date = std::move(date);
    inspection.stated_bits = inspection.counted_bits = std::int64_t{total} * 8;
    note_part(inspection, part);
    return true;
}

/// Expands the runs into the sink.
/// @return the bytes of pairs that were taken
std::uint64_t take_runs(McbRunReader& runs, std::int64_t total, DataSink& sink, std::int64_t& done)
{
    std::uint64_t pair_bytes = 0;
    std::array<std::uint8_t, expanded_size(STEP)> bytes{};
    while (done < total) {
        const auto pairs = runs.pairs();
        if (pairs.empty())
            break;
        const auto enough = static_cast<std::size_t>(std::min<std::int64_t>(total - done, STEP));
        const RunsTaken taken = expand_runs(pairs, enough, bytes.data());
        runs.skip(taken.pair_bytes);
        sink.take(std::span{bytes}.first(taken.data_bytes));
        pair_bytes += taken.pair_bytes;
        done += static_cast<std::int64_t>(taken.data_bytes);
    }
    return pair_bytes;
}

/// The last bytes are never read for the devices from which the library holds them back.
void note_missing_bytes(std::int64_t total, std::int64_t done, Inspection& inspection)
{
    const auto missing = static_cast<std::uint64_t>(total - done);
    const std::string ends = "the header states " + std::to_string(total) +
                             " bytes of configuration, the runs end behind " + std::to_string(done);
    if (missing <= MCB_TAIL && holds_back_tail(inspection.part)) {
        inspection.problems.push_back(
            {ends + "; a load holds back what is missing, a conversion to RBT fails over it", CONVERT_ANEW,
             Stops::nothing});
        return;
    }
    inspection.data_are_damaged = true;
    inspection.problems.push_back({ends, CONVERT_ANEW});
}

} // namespace

void inspect_mcb(File file, Inspection& inspection, DataTaker* taker)
{
    std::int32_t total = 0;
    if (!read_header(file.get(), inspection, total))
        return;
    if (total <= 0) {
        inspection.problems.push_back(
            {"the header states " + std::to_string(total) + " bytes of configuration", CONVERT_ANEW});
        return;
    }
    DataSink sink{inspection, taker};
    McbRunReader runs{file.get()};
    std::int64_t done = 0;
    const std::uint64_t pair_bytes = take_runs(runs, total, sink, done);
    sink.finish();
    if (done < total)
        note_missing_bytes(total, done, inspection);
    else if (done > total)
        inspection.problems.push_back(
            {"the last run goes " + std::to_string(done - total) + " bytes beyond the " +
                 std::to_string(total) +
                 " bytes that the header states; a load sends them, a conversion to RBT fails over them",
             CONVERT_ANEW, Stops::nothing});
    const std::uint64_t end = HEADER_SIZE + pair_bytes;
    if (done >= total && inspection.file_size > end)
        inspection.problems.push_back({std::to_string(inspection.file_size - end) +
                                           " bytes follow the last run; the library does not read them",
                                       CONVERT_ANEW, Stops::nothing});
}

} // namespace kvn
