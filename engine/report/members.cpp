// SPDX-License-Identifier: Apache-2.0
// Members of JSON objects that may be anything: what has another type than expected is as good as missing.
#include "report/members.h"

#include "report/utc.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace kvn
{
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

std::optional<std::int64_t> moment_member(const Json& object, const char* name)
{
    const auto moment = utc_time(text_member(object, name));
    if (!moment)
        return {};
    return std::chrono::floor<std::chrono::milliseconds>(moment->time_since_epoch()).count();
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
