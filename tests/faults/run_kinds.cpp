// SPDX-License-Identifier: Apache-2.0
// The kinds of runs for the fault matrix.
#include "run_kinds.h"

#include "support/bitstreams.h"

#include <algorithm>
#include <ostream>

void PrintTo(const RunKind& kind, std::ostream* out)
{
    *out << kind.name;
}

bool RunKind::loads() const
{
    return action == Action::load_rbt || action == Action::load_bit || action == Action::load_mcb ||
           action == Action::con;
}

std::string RunKind::input() const
{
    switch (action) {
    case Action::load_rbt:
    case Action::rbt_to_mcb:
        return "design.rbt";
    case Action::load_bit:
    case Action::bit_to_mcb:
        return "design.bit";
    case Action::con:
        return "rack.con";
    default:
        return "design.mcb";
    }
}

std::string RunKind::output() const
{
    switch (action) {
    case Action::rbt_to_mcb:
    case Action::bit_to_mcb:
        return "design.mcb";
    case Action::mcb_to_rbt:
        return "design.rbt";
    default:
        return "";
    }
}

std::vector<RunKind> run_kinds()
{
    using enum Action;
    using enum Way;
    constexpr const char* old_device = "v300bg432-5";
    return {
        {.name = "RbtPlain", .action = load_rbt},
        {.name = "RbtPlainFullPieces", .action = load_rbt, .full_pieces = true},
        {.name = "RbtPlainOldDevice", .action = load_rbt, .device = old_device},
        {.name = "RbtCompressed", .action = load_rbt, .compressed = true},
        {.name = "RbtCompressedFullPieces", .action = load_rbt, .compressed = true, .full_pieces = true},
        {.name = "RbtPlainSearch", .action = load_rbt, .way = search, .model = 4},
        {.name = "RbtCompressedSearchIo",
         .action = load_rbt,
         .way = search,
         .compressed = true,
         .model = 5,
         .is_io = true},
        {.name = "RbtBoard", .action = load_rbt, .way = board, .verbose = true},
        {.name = "RbtHandle", .action = load_rbt, .way = handle},
        {.name = "RbtCommandLineOnHandle", .action = load_rbt, .way = line_on_handle, .compressed = true},
        {.name = "BitPlain", .action = load_bit, .model = 4},
        {.name = "BitPlainFullPieces", .action = load_bit, .full_pieces = true},
        {.name = "BitPlainOldDevice", .action = load_bit, .device = old_device},
        {.name = "BitCompressed", .action = load_bit, .compressed = true, .model = 4},
        {.name = "BitCompressedFullPieces", .action = load_bit, .compressed = true, .full_pieces = true},
        {.name = "BitPlainSearch", .action = load_bit, .way = search},
        {.name = "BitCompressedSearch", .action = load_bit, .way = search, .compressed = true, .model = 4},
        {.name = "BitLongDevice", .action = load_bit, .verbose = true, .long_device = 2000},
        {.name = "McbPlain", .action = load_mcb},
        {.name = "McbPlainFullPieces", .action = load_mcb, .full_pieces = true},
        {.name = "McbPlainOldDevice", .action = load_mcb, .device = old_device},
        {.name = "McbCompressed", .action = load_mcb, .compressed = true, .model = 5, .is_io = true},
        {.name = "McbCompressedFullPieces", .action = load_mcb, .compressed = true, .full_pieces = true},
        {.name = "McbCompressedOldDevice", .action = load_mcb, .compressed = true, .device = old_device},
        {.name = "McbPlainSearch", .action = load_mcb, .way = search},
        {.name = "McbCompressedSearch", .action = load_mcb, .way = search, .compressed = true, .model = 4},
        {.name = "McbHandle", .action = load_mcb, .way = handle},
        {.name = "RbtToMcb", .action = rbt_to_mcb},
        {.name = "BitToMcb", .action = bit_to_mcb},
        {.name = "McbToRbt", .action = mcb_to_rbt},
        {.name = "ConOfThreeModules", .action = con},
    };
}

Bytes configuration(std::size_t size, bool with_runs)
{
    Bytes data;
    std::uint32_t state = 12345;
    while (data.size() < size) {
        state = state * 1664525U + 1013904223U;
        std::uint8_t value = static_cast<std::uint8_t>(state >> 16);
        if (!data.empty() && value == data.back())
            ++value;
        const std::size_t run = with_runs ? 1 + (state >> 30) : 1;
        data.insert(data.end(), std::min(run, size - data.size()), value);
    }
    return data;
}

namespace
{
/// Whether the data of a load leaves nothing to flush after its last byte.
bool fills_pieces(const RunKind& kind, const Bytes& data)
{
    const std::size_t sent = kind.compressed ? run_coded(data).size() : data.size();
    return sent % 8 == 0;
}
} // namespace

Bytes small_configuration(const RunKind& kind)
{
    for (std::size_t words = 40;; ++words) {
        Bytes data = configuration(words * 4);
        // The last run extends over several pieces.
        std::fill(data.end() - 21, data.end(), std::uint8_t{0x5A});
        if (fills_pieces(kind, data) == kind.full_pieces)
            return data;
    }
}
