// SPDX-License-Identifier: Apache-2.0
// How long a run still takes, by what each bus has done so far.
#include "run/remaining_time.h"

#include <algorithm>

namespace kvn
{
namespace
{

double seconds(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration<double>{duration}.count();
}

} // namespace

RemainingTime::RemainingTime(const std::vector<std::uint64_t>& bytes, std::size_t jobs)
    : jobs_{jobs == 0 ? bytes.size() : jobs}
{
    for (const std::uint64_t each : bytes)
        buses_.push_back({.bytes = each});
}

void RemainingTime::begin(std::size_t bus, Time now)
{
    if (!buses_[bus].begin)
        buses_[bus].begin = now;
}

void RemainingTime::note(std::size_t bus, std::uint64_t bytes, Time now)
{
    buses_[bus].done = std::min(bytes, buses_[bus].bytes);
    buses_[bus].noted = now;
}

void RemainingTime::end(std::size_t bus, Time now)
{
    buses_[bus].end = now;
}

std::optional<double> RemainingTime::Bus::rate() const
{
    if (!begin || !noted || done == 0 || *noted <= *begin)
        return std::nullopt;
    return static_cast<double>(done) / seconds(*noted - *begin);
}

/// What the bus has done since it last told is not known, only that it has gone on.
double RemainingTime::Bus::seconds_left(double rate, Time now) const
{
    const double left = static_cast<double>(bytes - done) / rate;
    return noted ? std::max(0.0, left - seconds(now - *noted)) : left;
}

std::optional<double> RemainingTime::common_rate() const
{
    double sum = 0;
    double count = 0;
    for (const Bus& bus : buses_)
        if (const auto rate = bus.rate()) {
            sum += *rate;
            ++count;
        }
    return count == 0 ? std::nullopt : std::optional{sum / count};
}

std::optional<double> RemainingTime::seconds_left(Time now) const
{
    const auto common = common_rate();
    std::vector<double> ends; // of the places that buses are worked on in
    std::vector<double> waiting;
    for (const Bus& bus : buses_) {
        if (bus.end)
            continue;
        auto rate = bus.rate();
        if (!rate)
            rate = common;
        if (!rate)
            return std::nullopt;
        (bus.begin ? ends : waiting).push_back(bus.seconds_left(*rate, now));
    }
    while (ends.size() < jobs_)
        ends.push_back(0);
    for (const double each : waiting)
        *std::ranges::min_element(ends) += each;
    return ends.empty() ? 0 : *std::ranges::max_element(ends);
}

} // namespace kvn
