// SPDX-License-Identifier: Apache-2.0
// The date and time of a bitstream, in the forms that files have for them.
#include "file/timestamp.h"

#include <algorithm>
#include <array>

namespace kvn
{
namespace
{

namespace chr = std::chrono;

constexpr std::array<std::string_view, 12> MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<std::string_view, 7> DAYS = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

/// Takes a text apart from its beginning; the first piece that is missing ends it.
class Pieces
{
public:
    explicit Pieces(std::string_view text) : rest_{text} {}

    /// A number of so many digits, the first of which may be blanks.
    int number(std::size_t digits)
    {
        int value = 0;
        bool is_number = rest_.size() >= digits;
        bool has_begun = false;
        for (std::size_t i = 0; is_number && i < digits; ++i) {
            const char c = rest_[i];
            const bool is_digit = c >= '0' && c <= '9';
            is_number = is_digit || (c == ' ' && !has_begun && i + 1 < digits);
            has_begun = has_begun || is_digit;
            value = value * 10 + (is_digit ? c - '0' : 0);
        }
        skip(digits, is_number);
        return value;
    }

    /// @return the place of one of the names in the list; 0 when none stands here
    template <std::size_t Size>
    unsigned name(const std::array<std::string_view, Size>& names)
    {
        const auto found =
            std::ranges::find_if(names, [this](std::string_view name) { return rest_.starts_with(name); });
        skip(3, found != names.end());
        return found == names.end() ? 0 : static_cast<unsigned>(found - names.begin());
    }

    void character(char c) { skip(1, rest_.starts_with(c)); }

    /// Whether all was there, and nothing more.
    [[nodiscard]] bool fit() const { return fit_ && rest_.empty(); }

private:
    void skip(std::size_t count, bool fits)
    {
        fit_ = fit_ && fits;
        rest_ = fit_ ? rest_.substr(count) : std::string_view{};
    }

    std::string_view rest_;
    bool fit_ = true;
};

struct Fields {
    int year, month, day, hour, minute, second;
};

void read_time(Pieces& pieces, Fields& fields)
{
    fields.hour = pieces.number(2);
    pieces.character(':');
    fields.minute = pieces.number(2);
    pieces.character(':');
    fields.second = pieces.number(2);
}

/// "Thu Oct 10 09:00:52 2002"
bool read_words(Pieces pieces, Fields& fields)
{
    (void)pieces.name(DAYS);
    pieces.character(' ');
    fields.month = static_cast<int>(pieces.name(MONTHS)) + 1;
    pieces.character(' ');
    fields.day = pieces.number(2);
    pieces.character(' ');
    read_time(pieces, fields);
    pieces.character(' ');
    fields.year = pieces.number(4);
    return pieces.fit();
}

/// "2002/10/10 09:00:52"
bool read_numbers(Pieces pieces, Fields& fields)
{
    fields.year = pieces.number(4);
    pieces.character('/');
    fields.month = pieces.number(2);
    pieces.character('/');
    fields.day = pieces.number(2);
    pieces.character(' ');
    read_time(pieces, fields);
    return pieces.fit();
}

chr::year_month_day day_of(Moment moment)
{
    return chr::floor<chr::days>(moment);
}

std::string padded(long long number, std::size_t width, char fill)
{
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), fill) + digits;
}

} // namespace

std::optional<Moment> parse_moment(std::string_view text)
{
    Fields fields{};
    if (!read_words(Pieces{text}, fields) && !read_numbers(Pieces{text}, fields))
        return std::nullopt;
    const chr::year_month_day day{chr::year{fields.year}, chr::month{static_cast<unsigned>(fields.month)},
                                  chr::day{static_cast<unsigned>(fields.day)}};
    if (!day.ok() || fields.hour > 23 || fields.minute > 59 || fields.second > 59)
        return std::nullopt;
    return chr::sys_days{day} + chr::hours{fields.hour} + chr::minutes{fields.minute} +
           chr::seconds{fields.second};
}

std::string in_words(Moment moment)
{
    const chr::year_month_day day = day_of(moment);
    const chr::weekday weekday{chr::sys_days{day}};
    const std::string_view month = MONTHS.at(static_cast<unsigned>(day.month()) - 1);
    return std::string{DAYS.at(weekday.c_encoding())} + ' ' + std::string{month} + ' ' +
           padded(static_cast<unsigned>(day.day()), 2, ' ') + ' ' + time_of(moment) + ' ' +
           padded(static_cast<int>(day.year()), 4, '0');
}

std::string date_of(Moment moment)
{
    const chr::year_month_day day = day_of(moment);
    return padded(static_cast<int>(day.year()), 4, '0') + '/' +
           padded(static_cast<unsigned>(day.month()), 2, '0') + '/' +
           padded(static_cast<unsigned>(day.day()), 2, '0');
}

std::string time_of(Moment moment)
{
    const chr::hh_mm_ss time{moment - chr::floor<chr::days>(moment)};
    return padded(time.hours().count(), 2, '0') + ':' + padded(time.minutes().count(), 2, '0') + ':' +
           padded(time.seconds().count(), 2, '0');
}

} // namespace kvn
