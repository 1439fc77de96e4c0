// SPDX-License-Identifier: Apache-2.0
// The run coding of MCB files and of compressed loads.
#include "formats/run_coding.h"

#include <bit>

namespace
{
/// Writes the runs of some data at the places where a byte differs from the one before.
class RunWriter
{
public:
    /// @param begun how many copies of the first byte are in hand, the first byte itself among them
    RunWriter(std::span<const std::uint8_t> data, std::size_t begun, std::uint8_t* pairs)
        : data_{data}, start_{1 - static_cast<std::ptrdiff_t>(begun)}, out_{pairs}
    {
    }

    /// Ends a run in front of each byte that changes has found among those from `first` on.
    void end_runs(std::size_t first, std::uint64_t changes)
    {
        if (changes == 0)
            return;
        if (has_singles(changes))
            return end_runs_and_singles(first, changes);
        const std::size_t at = first + distance_of(changes);
        end_run(at, data_[at - 1]);
        end_short_runs(first, changes & (changes - 1));
    }

    /// Holds back what may go on: at most LONGEST_RUN bytes.
    std::size_t hold_back_rest() { return write_full_runs(data_.size(), data_.back()); }

    [[nodiscard]] std::uint8_t* end() const { return out_; }

private:
    // The mask of SINGLES bytes that all differ from the one before.
    static constexpr std::uint64_t ALL_CHANGE = (std::uint64_t{1} << SINGLES) - 1;

    [[nodiscard]] static std::size_t distance_of(std::uint64_t changes)
    {
        return static_cast<std::size_t>(std::countr_zero(changes));
    }

    /// Whether SINGLES bytes one after the other all differ from the one before.
    [[nodiscard]] static bool has_singles(std::uint64_t changes)
    {
        static_assert(std::has_single_bit(SINGLES));
        for (std::size_t found = 1; found < SINGLES; found *= 2)
            changes &= changes >> found;
        return changes != 0;
    }

    void end_runs_and_singles(std::size_t first, std::uint64_t changes)
    {
        while (changes != 0) {
            const std::size_t distance = distance_of(changes);
            const std::size_t at = first + distance;
            if ((~(changes >> distance) & ALL_CHANGE) == 0 && length_before(at) <= LONGEST_RUN) {
                end_singles(at);
                changes &= ~(ALL_CHANGE << distance);
            } else {
                end_run(at, data_[at - 1]);
                changes &= changes - 1;
            }
        }
    }

    /// Ends runs that began in the same block, and so are no longer than it.
    void end_short_runs(std::size_t first, std::uint64_t changes)
    {
        static_assert(CHANGES_SIZE <= LONGEST_RUN);
        for (; changes != 0; changes &= changes - 1) {
            const std::size_t at = first + distance_of(changes);
            write_pair(length_before(at), data_[at - 1]);
            start_ = static_cast<std::ptrdiff_t>(at);
        }
    }

    /// Ends the run in hand in front of a byte that differs from it.
    void end_run(std::size_t at, std::uint8_t value)
    {
        const std::size_t count = write_full_runs(at, value);
        write_pair(count, value);
        start_ = static_cast<std::ptrdiff_t>(at);
    }

    [[nodiscard]] std::size_t length_before(std::size_t at) const
    {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at) - start_);
    }

    void write_pair(std::size_t count, std::uint8_t value)
    {
        *out_++ = static_cast<std::uint8_t>(count);
        *out_++ = value;
    }

    /// Writes the pairs of 255 of the run that ends in front of a byte.
    /// @return the copies left for the last pair, up to LONGEST_RUN
    std::size_t write_full_runs(std::size_t at, std::uint8_t value)
    {
        std::size_t count = length_before(at);
        for (; count > LONGEST_RUN; count -= LONGEST_RUN)
            write_pair(LONGEST_RUN, value);
        return count;
    }

    /// Ends the run in hand and SINGLES - 1 runs of one: all of SINGLES bytes differ from the one before.
    void end_singles(std::size_t at)
    {
        fastest::write_singles(out_, &data_[at - 1]);
        *out_ = static_cast<std::uint8_t>(length_before(at));
        out_ += PAIR_SIZE * SINGLES;
        start_ = static_cast<std::ptrdiff_t>(at + SINGLES - 1);
    }

    std::span<const std::uint8_t> data_;
    std::ptrdiff_t start_; // of the run in hand: in front of the data, when earlier data began it
    std::uint8_t* out_;
};
} // namespace

std::size_t RunEncoder::encode_plainly(std::span<const std::uint8_t> data, std::uint8_t* pairs)
{
    const std::size_t finished_before = finished_runs_;
    for (const std::uint8_t byte : data) {
        const bool run_ends = count_ > 0 && (byte != value_ || count_ == LONGEST_RUN);
        if (run_ends) {
            finish(pairs);
            pairs += PAIR_SIZE;
            ++finished_runs_;
            count_ = 0;
        }
        value_ = byte;
        ++count_;
    }
    return (finished_runs_ - finished_before) * PAIR_SIZE;
}

/// Codes bytes that follow a first one, in whole blocks. The first one has been coded.
std::size_t RunEncoder::encode_blocks(std::span<const std::uint8_t> data, std::uint8_t* pairs)
{
    RunWriter runs{data, count_, pairs};
    for (std::size_t i = 1; i < data.size(); i += CHANGES_SIZE)
        runs.end_runs(i, fastest::changes(&data[i]));
    count_ = runs.hold_back_rest();
    value_ = data.back();
    const auto written = static_cast<std::size_t>(runs.end() - pairs);
    finished_runs_ += written / PAIR_SIZE;
    return written;
}

std::size_t RunEncoder::encode(std::span<const std::uint8_t> data, std::uint8_t* pairs)
{
    if (data.size() <= CHANGES_SIZE)
        return encode_plainly(data, pairs);
    // A block is compared with what stands one byte in front of it, so the first byte goes ahead.
    const std::size_t in_blocks = 1 + (data.size() - 1) / CHANGES_SIZE * CHANGES_SIZE;
    std::size_t written = encode_plainly(data.first(1), pairs);
    written += encode_blocks(data.first(in_blocks), pairs + written);
    return written + encode_plainly(data.subspan(in_blocks), pairs + written);
}

void RunEncoder::finish(std::uint8_t* pair) const
{
    pair[0] = static_cast<std::uint8_t>(count_);
    pair[1] = value_;
}
