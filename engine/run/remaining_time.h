// SPDX-License-Identifier: Apache-2.0
// How long a run still takes, by what each bus has done so far.
#ifndef KVN_ENGINE_RUN_REMAINING_TIME_H
#define KVN_ENGINE_RUN_REMAINING_TIME_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kvn
{

/// A bus goes on at the rate at which it has worked so far, everything included: opening, asking, sending,
/// waiting for the verdict. One that has sent nothing yet goes at the rate of the others together. Buses that
/// wait for others
/// (--jobs) take the place of whichever ends first.
class RemainingTime
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// @param bytes that each bus has to send
    /// @param jobs buses at the same time; 0: all
    RemainingTime(const std::vector<std::uint64_t>& bytes, std::size_t jobs);

    /// A bus begins its first module; further calls are without effect.
    void begin(std::size_t bus, Time now);
    /// @param bytes that the bus has sent of what it has to send, with all that need not be sent any more
    void note(std::size_t bus, std::uint64_t bytes, Time now);
    /// A bus has nothing more to do.
    void end(std::size_t bus, Time now);

    /// @return seconds; 0 when all buses have ended; null while nothing is known
    [[nodiscard]] std::optional<double> seconds_left(Time now) const;

private:
    struct Bus {
        std::uint64_t bytes = 0;
        std::uint64_t done = 0;
        std::optional<Time> begin = {};
        std::optional<Time> noted = {}; ///< when that was so
        std::optional<Time> end = {};

        [[nodiscard]] std::optional<double> rate() const;
        [[nodiscard]] double seconds_left(double rate, Time now) const;
    };

    [[nodiscard]] std::optional<double> common_rate() const;

    std::vector<Bus> buses_;
    std::size_t jobs_;
};

} // namespace kvn

#endif
