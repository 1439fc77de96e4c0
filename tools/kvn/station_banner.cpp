// SPDX-License-Identifier: Apache-2.0
// What a station shows of a unit and of a session, as text.
#include "station_banner.h"

#include <algorithm>

namespace kvn
{
namespace
{

/// In characters of UTF-8.
std::size_t width_of(const std::string& text)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
}

std::string joined(const std::vector<std::string>& words)
{
    std::string all;
    for (const std::string& word : words)
        all += (all.empty() ? "" : ", ") + word;
    return all;
}

} // namespace

std::string in_words(const StationTally& tally)
{
    return std::to_string(tally.units()) + (tally.units() == 1 ? " unit: " : " units: ") +
           std::to_string(tally.passed()) + " passed, " + std::to_string(tally.failed()) + " failed";
}

std::vector<std::string> banner(bool passed, const std::vector<std::string>& serial_numbers,
                                std::size_t columns)
{
    const char edge = passed ? '=' : '#'; // they differ without colour, and from afar
    const std::string full(columns, edge);
    const std::string words =
        "  " + std::string{passed ? "PASS" : "FAIL"} + "  " + joined(serial_numbers) + "  ";
    const std::size_t width = width_of(words);
    if (width >= columns)
        return {full, words, full};
    const std::size_t left = (columns - width) / 2;
    return {full, std::string(left, edge) + words + std::string(columns - width - left, edge), full};
}

} // namespace kvn
