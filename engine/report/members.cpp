// SPDX-License-Identifier: Apache-2.0
// Members of JSON objects that may be anything: what has another type than expected is as good as missing.
#include "report/members.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <span>

namespace kvn
{
namespace
{

/// A field of decimal digits; null for anything else.
std::optional<int> digits(std::string_view text)
{
    int number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return {};
        number = number * 10 + (c - '0');
    }
    return number;
}

} // namespace

const Json& member(const Json& object, const char* name)
{
    static const Json none;
    if (!object.is_object())
        return none;
    const auto found = object.find(name);
    return found == object.end() ? none : *found;
}

std::string text_member(const Json& object, const char* name)
{
    const Json& found = member(object, name);
    return found.is_string() ? found.get_ref<const std::string&>() : std::string{};
}

std::optional<std::uint64_t> number_member(const Json& object, const char* name)
{
    const Json& found = member(object, name);
    if (found.is_number_unsigned() || (found.is_number_integer() && found.get<std::int64_t>() >= 0))
        return found.get<std::uint64_t>();
    return {};
}

bool flag_member(const Json& object, const char* name)
{
    const Json& found = member(object, name);
    return found.is_boolean() && found.get<bool>();
}

std::optional<std::int64_t> moment_of(std::string_view text)
{
    constexpr std::string_view form = "0000-00-00T00:00:00.000Z";
    if (text.size() != form.size())
        return {};
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] != '0' && text[i] != form[i])
            return {};
    const std::array fields{digits(text.substr(0, 4)),  digits(text.substr(5, 2)),
                            digits(text.substr(8, 2)),  digits(text.substr(11, 2)),
                            digits(text.substr(14, 2)), digits(text.substr(17, 2)),
                            digits(text.substr(20, 3))};
    for (const auto& field : fields)
        if (!field)
            return {};
    const std::chrono::year_month_day date{std::chrono::year{*fields[0]},
                                           std::chrono::month{static_cast<unsigned>(*fields[1])},
                                           std::chrono::day{static_cast<unsigned>(*fields[2])}};
    if (!date.ok() || *fields[3] > 23 || *fields[4] > 59 || *fields[5] > 60)
        return {};
    const std::chrono::sys_time<std::chrono::milliseconds> moment =
        std::chrono::sys_days{date} + std::chrono::hours{*fields[3]} + std::chrono::minutes{*fields[4]} +
        std::chrono::seconds{*fields[5]} + std::chrono::milliseconds{*fields[6]};
    return moment.time_since_epoch().count();
}

std::string moment_text(std::int64_t milliseconds)
{
    const std::chrono::sys_time<std::chrono::milliseconds> moment{std::chrono::milliseconds{milliseconds}};
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss time{moment - day};
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d",
                        static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                        static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return text.data();
}

} // namespace kvn
