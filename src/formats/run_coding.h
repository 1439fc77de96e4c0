// The run coding of MCB files and of compressed loads: pairs of a count byte (1 to 255) and a value byte.
#ifndef KVN_FPGA_FORMATS_RUN_CODING_H
#define KVN_FPGA_FORMATS_RUN_CODING_H

#include "formats/byte_kernels.h"

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
    /// Codes the next bytes: a byte that differs from the one before it ends a run, and so does a run's 255th
    /// copy when another follows.
    /// @param pairs receives the runs that are finished; it needs room for two bytes for each of data
    /// @return how many bytes of pairs were written
    std::size_t encode(std::span<const std::uint8_t> data, std::uint8_t* pairs);

    /// Gives the last run. Choice: without any data it is 0 copies of 0 (docs/decisions/0007-empty-data.md).
    /// @param pair receives its two bytes
    void finish(std::uint8_t* pair) const;

    /// How many runs were finished.
    [[nodiscard]] std::size_t finished_runs() const { return finished_runs_; }

private:
    std::size_t count_ = 0; ///< 1 to 255 as soon as there is a byte
    std::uint8_t value_ = 0;
    std::size_t finished_runs_ = 0;
};

/// How far runs were followed.
struct RunsTaken {
    std::size_t pair_bytes; ///< the bytes of their pairs
    std::size_t data_bytes; ///< the bytes that they stand for
};

/// Follows runs until they stand for `enough` bytes or more, or end.
inline RunsTaken measure_runs(std::span<const std::uint8_t> pairs, std::size_t enough)
{
    RunsTaken taken{0, 0};
    for (; taken.pair_bytes + COUNTS_SIZE <= pairs.size(); taken.pair_bytes += COUNTS_SIZE) {
        const std::size_t sum = portable::sum_counts(&pairs[taken.pair_bytes]);
        if (taken.data_bytes + sum >= enough)
            break;
        taken.data_bytes += sum;
    }
    for (; taken.pair_bytes < pairs.size() && taken.data_bytes < enough; taken.pair_bytes += PAIR_SIZE)
        taken.data_bytes += pairs[taken.pair_bytes];
    return taken;
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

/// Follows runs as measure_runs does, and writes what they stand for.
/// @param out has room for expanded_size(enough) bytes
inline RunsTaken expand_runs(std::span<const std::uint8_t> pairs, std::size_t enough, std::uint8_t* out)
{
    RunsTaken taken{0, 0};
    const auto goes_on = [&] { return taken.pair_bytes < pairs.size() && taken.data_bytes < enough; };
    while (goes_on()) {
        const bool has_singles =
            taken.pair_bytes + PAIR_SIZE * SINGLES <= pairs.size() && taken.data_bytes + SINGLES <= enough;
        if (has_singles && fastest::read_singles(out + taken.data_bytes, &pairs[taken.pair_bytes])) {
            taken.pair_bytes += PAIR_SIZE * SINGLES;
            taken.data_bytes += SINGLES;
            continue;
        }
        // Among longer runs it does not pay to look for runs of one at every pair.
        for (std::size_t i = 0; i < SINGLES / 2 && goes_on(); ++i) {
            const std::uint8_t* pair = &pairs[taken.pair_bytes];
            expand_run(out + taken.data_bytes, pair[0], pair[1]);
            taken.pair_bytes += PAIR_SIZE;
            taken.data_bytes += pair[0];
        }
    }
    return taken;
}

/// The room that runs need which are followed until they stand for `enough` bytes.
constexpr std::size_t expanded_size(std::size_t enough)
{
    return enough + LONGEST_RUN + EXPAND_STEP;
}

#endif
