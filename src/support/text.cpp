// SPDX-License-Identifier: Apache-2.0
// Conversion of decimal numbers.
#include "support/text.h"

#include <limits>

namespace
{
constexpr bool is_white_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}
} // namespace

std::int32_t to_number(const char* text)
{
    using Limits = std::numeric_limits<std::int32_t>;

    while (is_white_space(*text))
        ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    std::int64_t value = 0;
    for (; is_digit(*text); ++text)
        if (value <= Limits::max())
            value = value * 10 + (*text - '0');
    if (negative)
        value = -value;
    if (value > Limits::max())
        return Limits::max();
    return value < Limits::min() ? Limits::min() : static_cast<std::int32_t>(value);
}
