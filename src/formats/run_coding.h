// SPDX-License-Identifier: Apache-2.0
// The run coding of MCB files and of compressed loads: pairs of a count byte (1 to 255) and a value byte.
#ifndef KVN_FPGA_FORMATS_RUN_CODING_H
#define KVN_FPGA_FORMATS_RUN_CODING_H

#include "formats/byte_kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t PAIR_SIZE = 2;
inline constexpr std::size_t LONGEST_RUN = 255;

/// What expand_run writes at once: so much room it needs behind the copies.
inline constexpr std::size_t EXPAND_STEP = 16;

/// Turns configuration bytes into runs. The last run is held back until finish, since more of it may follow.
class RunEncoder
{
public:
    /// Codes the next bytes: whole blocks at once, and otherwise byte by byte.
    /// @param pairs receives the runs that are finished; it needs room for two bytes for each of data
    /// @return how many bytes of pairs were written
    std::size_t encode(std::span<const std::uint8_t> data, std::uint8_t* pairs);

    /// Codes the next bytes one by one, which is the rule: a byte that differs from the one before it ends a
    /// run, and so does a run's 255th copy when another follows.
    std::size_t encode_plainly(std::span<const std::uint8_t> data, std::uint8_t* pairs);

    /// Gives the last run. Choice: without any data it is 0 copies of 0 (docs/decisions/0007-empty-data.md).
    /// @param pair receives its two bytes
    void finish(std::uint8_t* pair) const;

    /// How many runs were finished.
    [[nodiscard]] std::size_t finished_runs() const { return finished_runs_; }

private:
    std::size_t encode_blocks(std::span<const std::uint8_t> data, std::uint8_t* pairs);

    std::size_t count_ = 0; ///< 1 to 255 as soon as there is a byte
    std::uint8_t value_ = 0;
    std::size_t finished_runs_ = 0;
};

/// How far runs were followed.
struct RunsTaken {
    std::size_t pair_bytes; ///< the bytes of their pairs
    std::size_t data_bytes; ///< the bytes that they stand for
};

/// Follows runs one by one, which is the rule: until they stand for `enough` bytes or more, or end.
/// @param taken the runs that were followed before
/// @param take_run gets what each one stands for: the place of its first byte, count and value
template <class TakeRun>
RunsTaken follow_plainly(std::span<const std::uint8_t> pairs, std::size_t enough, RunsTaken taken,
                         TakeRun take_run)
{
    for (; taken.pair_bytes < pairs.size() && taken.data_bytes < enough; taken.pair_bytes += PAIR_SIZE) {
        const std::uint8_t* pair = &pairs[taken.pair_bytes];
        take_run(taken.data_bytes, pair[0], pair[1]);
        taken.data_bytes += pair[0];
    }
    return taken;
}

/// Follows runs as follow_plainly does, several at once.
inline RunsTaken measure_runs(std::span<const std::uint8_t> pairs, std::size_t enough)
{
    RunsTaken taken{0, 0};
    for (; taken.pair_bytes + COUNTS_SIZE <= pairs.size(); taken.pair_bytes += COUNTS_SIZE) {
        const std::size_t sum = portable::sum_counts(&pairs[taken.pair_bytes]);
        if (taken.data_bytes + sum >= enough)
            break;
        taken.data_bytes += sum;
    }
    return follow_plainly(pairs, enough, taken, [](std::size_t, std::uint8_t, std::uint8_t) {});
}

/// Writes `count` copies of a value, and at most EXPAND_STEP further bytes.
inline void expand_run(std::uint8_t* out, std::size_t count, std::uint8_t value)
{
    const std::uint64_t copies = portable::repeat(value);
    const auto write_step = [copies](std::uint8_t* place) {
        portable::store(place, copies);
        portable::store(place + sizeof copies, copies);
    };
    write_step(out);
    if (count <= EXPAND_STEP) // as most runs are
        return;
    for (std::size_t i = EXPAND_STEP; i < count; i += EXPAND_STEP)
        write_step(out + i);
}

/// Follows runs as follow_plainly does, several at once, and writes what they stand for.
/// @param out has room for expanded_size(enough) bytes
inline RunsTaken expand_runs(std::span<const std::uint8_t> pairs, std::size_t enough, std::uint8_t* out)
{
    const auto write_run = [out](std::size_t place, std::uint8_t count, std::uint8_t value) {
        expand_run(out + place, count, value);
    };
    RunsTaken taken{0, 0};
    while (taken.pair_bytes < pairs.size() && taken.data_bytes < enough) {
        const bool has_singles =
            taken.pair_bytes + PAIR_SIZE * SINGLES <= pairs.size() && taken.data_bytes + SINGLES <= enough;
        if (has_singles && fastest::read_singles(out + taken.data_bytes, &pairs[taken.pair_bytes])) {
            taken.pair_bytes += PAIR_SIZE * SINGLES;
            taken.data_bytes += SINGLES;
            continue;
        }
        // Among longer runs it does not pay to look for runs of one at every pair.
        const std::size_t next = std::min(pairs.size(), taken.pair_bytes + PAIR_SIZE * SINGLES / 2);
        taken = follow_plainly(pairs.first(next), enough, taken, write_run);
    }
    return taken;
}

/// The room that runs need which are followed until they stand for `enough` bytes.
constexpr std::size_t expanded_size(std::size_t enough)
{
    return enough + LONGEST_RUN + EXPAND_STEP;
}

#endif
