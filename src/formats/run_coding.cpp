// The run coding of MCB files and of compressed loads.
#include "formats/run_coding.h"

#include "formats/bit_order.h"

#include <algorithm>
#include <bit>

namespace
{
/// Writes a run of any length: as many of 255 as go before the last part, which may itself be 255 long.
std::uint8_t* write_run(std::uint8_t* pairs, std::size_t count, std::uint8_t value)
{
    for (; count > LONGEST_RUN; count -= LONGEST_RUN) {
        *pairs++ = LONGEST_RUN;
        *pairs++ = value;
    }
    *pairs++ = static_cast<std::uint8_t>(count);
    *pairs++ = value;
    return pairs;
}
} // namespace

std::size_t RunEncoder::encode(std::span<const std::uint8_t> data, std::uint8_t* pairs)
{
    if (data.empty())
        return 0;
    std::uint8_t* out = pairs;
    // Where the run in hand began, as an index into data: before it, for a run that earlier data began.
    auto start = -static_cast<std::ptrdiff_t>(count_);
    std::uint8_t value = value_;
    const auto begin_run = [&](std::size_t at) {
        const auto here = static_cast<std::ptrdiff_t>(at);
        out = write_run(out, static_cast<std::size_t>(here - start), value);
        start = here;
        value = data[at];
    };

    if (count_ == 0)
        value = data[0];
    else if (data[0] != value)
        begin_run(0);
    std::size_t i = 1;
    for (; i + CHANGES_SIZE <= data.size(); i += CHANGES_SIZE)
        for (std::uint64_t mask = fastest::changes(data.data() + i); mask != 0; mask &= mask - 1)
            begin_run(i + static_cast<std::size_t>(std::countr_zero(mask)));
    for (; i < data.size(); ++i)
        if (data[i] != value)
            begin_run(i);

    count_ = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(data.size()) - start);
    value_ = value;
    // A run is finished as soon as it is longer than a pair can say.
    for (; count_ > LONGEST_RUN; count_ -= LONGEST_RUN) {
        *out++ = LONGEST_RUN;
        *out++ = value_;
    }
    const auto written = static_cast<std::size_t>(out - pairs);
    finished_runs_ += written / PAIR_SIZE;
    return written;
}

void RunEncoder::finish(std::uint8_t* pair) const
{
    pair[0] = static_cast<std::uint8_t>(count_);
    pair[1] = value_;
}
