// SPDX-License-Identifier: Apache-2.0
// Moments as documents state them.
#include "report/utc.h"

#include <array>
#include <cstdio>

namespace kvn
{
namespace
{

// The clock counts nanoseconds, of which 292 years can be told; differences are to fit too.
constexpr unsigned FIRST_YEAR = 1970;
constexpr unsigned LAST_YEAR = 2261;

std::optional<unsigned> digits(std::string_view text)
{
    unsigned number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        number = number * 10 + static_cast<unsigned>(c - '0');
    }
    return number;
}

} // namespace

std::string utc_text(std::chrono::system_clock::time_point moment)
{
    const auto whole = std::chrono::floor<std::chrono::milliseconds>(moment);
    const auto midnight = std::chrono::floor<std::chrono::days>(whole);
    const std::chrono::year_month_day date{midnight};
    const std::chrono::hh_mm_ss time{whole - midnight};
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                        static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                        static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                        static_cast<int>(time.subseconds().count()));
    return text.data();
}

std::optional<std::chrono::system_clock::time_point> utc_time(std::string_view text)
{
    constexpr std::string_view shape = "0000-00-00T00:00:00.000Z";
    if (text.size() != shape.size())
        return std::nullopt;
    for (std::size_t i = 0; i < shape.size(); ++i)
        if (shape[i] != '0' && shape[i] != text[i])
            return std::nullopt;
    const auto number = [&](std::size_t from, std::size_t size) { return digits(text.substr(from, size)); };
    const auto year = number(0, 4);
    const auto month = number(5, 2);
    const auto day = number(8, 2);
    const auto hour = number(11, 2);
    const auto minute = number(14, 2);
    const auto second = number(17, 2);
    const auto thousandth = number(20, 3);
    if (!year || !month || !day || !hour || !minute || !second || !thousandth)
        return std::nullopt;
    if (*year < FIRST_YEAR || *year > LAST_YEAR)
        return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(*year)},
                                           std::chrono::month{*month}, std::chrono::day{*day}};
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59)
        return std::nullopt;
    return std::chrono::sys_days{date} + std::chrono::hours{*hour} + std::chrono::minutes{*minute} +
           std::chrono::seconds{*second} + std::chrono::milliseconds{*thousandth};
}

} // namespace kvn
