// The run coding of MCB files and of compressed loads: pairs of a count byte (1 to 255) and a value byte.
#ifndef KVN_FPGA_FORMATS_RUN_CODING_H
#define KVN_FPGA_FORMATS_RUN_CODING_H

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t PAIR_SIZE = 2;
inline constexpr std::size_t LONGEST_RUN = 255;

/// Turns configuration bytes into runs. The last run is held back until finish, since more of it may follow.
class RunEncoder
{
public:
    /// Codes the next bytes.
    /// @param pairs receives the runs that are finished; it needs room for two bytes for each of data
    /// @return how many bytes of pairs were written
    std::size_t encode(std::span<const std::uint8_t> data, std::uint8_t* pairs);

    /// Gives the last run. Choice: without any data it is 0 copies of 0.
    /// @param pair receives its two bytes
    void finish(std::uint8_t* pair) const;

    /// How many runs were finished.
    [[nodiscard]] std::size_t finished_runs() const { return finished_runs_; }

private:
    std::size_t count_ = 0; ///< 1 to 255 as soon as there is a byte
    std::uint8_t value_ = 0;
    std::size_t finished_runs_ = 0;
};

/// Writes `count` copies of a value. As many as 15 bytes behind them may be overwritten.
/// @return the place behind the copies
std::uint8_t* expand_run(std::uint8_t* out, std::size_t count, std::uint8_t value);

#endif
